#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <string>
#include <thread>

namespace {

// A source that runs a function of the test. It is attached to the calling thread's loop.
class Source {
public:
    explicit Source(std::function<void()> perform, CFIndex order = 0,
                    CFRunLoopMode mode = kCFRunLoopDefaultMode)
        : perform_(std::move(perform)) {
        CFRunLoopSourceContext context{};
        context.info = &perform_;
        context.retain = [](const void* info) {
            ++sHeld;
            return info;
        };
        context.release = [](const void*) { --sHeld; };
        context.perform = [](void* info) { (*static_cast<std::function<void()>*>(info))(); };
        source_ = CFRunLoopSourceCreate(nullptr, order, &context);
        Add(mode);
    }
    ~Source() { CFRelease(source_); }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    void Add(CFRunLoopMode mode) const { CFRunLoopAddSource(CFRunLoopGetCurrent(), source_, mode); }
    void Signal() const { CFRunLoopSourceSignal(source_); }

    // The references of all sources on what they perform.
    static inline std::atomic<int> sHeld;

private:
    std::function<void()> perform_;
    CFRunLoopSourceRef source_;
};

SInt32 runDefault(double seconds, bool returnAfterSource) {
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, returnAfterSource);
}

// Runs `body` on a thread of its own, whose loop is therefore empty at first.
void onNewLoop(const std::function<void()>& body) {
    std::thread(body).join();
}

constexpr double cForEver = 1e300;

TEST(CFRunLoop, TellsHowARunEnded) {
    onNewLoop([] {
        EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunFinished);
        EXPECT_EQ(CFRunLoopRunInMode(nullptr, cForEver, false), kCFRunLoopRunFinished);
        int calls = 0;
        const Source source([&] { ++calls; }, 0, CFSTR("other"));
        source.Signal();
        EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunFinished);
        source.Add(kCFRunLoopCommonModes);
        source.Add(kCFRunLoopDefaultMode);  // It is called once all the same.
        EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopCommonModes, cForEver, false),
                  kCFRunLoopRunFinished);
        EXPECT_EQ(CFRunLoopRunInMode(CFSTR("other"), 0, true), kCFRunLoopRunHandledSource);
        EXPECT_EQ(runDefault(0.001, true), kCFRunLoopRunTimedOut);
        source.Signal();
        source.Signal();
        EXPECT_EQ(runDefault(cForEver, true), kCFRunLoopRunHandledSource);
        source.Signal();
        EXPECT_EQ(runDefault(-1, false), kCFRunLoopRunTimedOut);
        EXPECT_EQ(calls, 3);
    });
}

TEST(CFRunLoop, CallsByOrderAndGivesEveryoneATurn) {
    onNewLoop([] {
        std::string calls;
        const Source late([&] { calls += "c"; }, 5);
        const Source first([&] { calls += "a"; }, -5);
        const Source busy([&] {
            calls += "b";
            busy.Signal();
        });
        const Source other([&] { calls += "o"; });
        for (const Source* source : {&late, &first, &busy, &other}) {
            source->Signal();
        }
        EXPECT_EQ(runDefault(0, false), kCFRunLoopRunTimedOut);
        EXPECT_EQ(calls, "aboc");
        other.Signal();
        EXPECT_EQ(runDefault(0, true), kCFRunLoopRunHandledSource);
        EXPECT_EQ(runDefault(0, true), kCFRunLoopRunHandledSource);
        EXPECT_EQ(calls, "abocbo");
    });
}

// Each signal is followed by a wake-up only if the loop says that it waits, and a wake-up alone
// ends the first wait. A signal that is lost makes the test stand still.
TEST(CFRunLoop, LosesNoSignal) {
    constexpr int cRounds = 20000;
    std::atomic<int> performed{0};
    const Source* shared = nullptr;
    std::promise<CFRunLoopRef> loop;
    std::thread worker([&] {
        const Source source([&] { ++performed; });
        shared = &source;
        CFRetain(CFRunLoopGetCurrent());
        loop.set_value(CFRunLoopGetCurrent());
        while (performed < cRounds) {
            EXPECT_EQ(runDefault(cForEver, true), kCFRunLoopRunHandledSource);
        }
    });
    const CFRunLoopRef target = loop.get_future().get();
    for (int round = 0; round < cRounds; ++round) {
        shared->Signal();
        if (CFRunLoopIsWaiting(target)) {
            CFRunLoopWakeUp(target);
        }
        while (performed == round) {
            std::this_thread::yield();
        }
    }
    worker.join();
    // The loop outlives its thread, and never waits again.
    EXPECT_NE(target, CFRunLoopGetCurrent());
    CFRunLoopWakeUp(target);
    EXPECT_FALSE(CFRunLoopIsWaiting(target));
    CFRelease(target);
}

TEST(CFRunLoop, AnEndingThreadReleasesWhatWasAttached) {
    onNewLoop([] {
        {
            const Source source([] {});
        }
        EXPECT_EQ(Source::sHeld, 1);
    });
    EXPECT_EQ(Source::sHeld, 0);
}

}  // namespace
