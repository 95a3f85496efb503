#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace {

// A source that runs a function of the test.
class Source {
public:
    explicit Source(std::function<void()> perform, CFIndex order = 0)
        : perform_(std::move(perform)) {
        CFRunLoopSourceContext context{};
        context.info = &perform_;
        context.perform = [](void* info) { (*static_cast<std::function<void()>*>(info))(); };
        source_ = CFRunLoopSourceCreate(nullptr, order, &context);
    }
    ~Source() {
        CFRunLoopSourceInvalidate(source_);
        CFRelease(source_);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    CFRunLoopSourceRef Get() const { return source_; }
    void Add(CFRunLoopMode mode = kCFRunLoopDefaultMode) const {
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source_, mode);
    }
    void Signal() const { CFRunLoopSourceSignal(source_); }

private:
    std::function<void()> perform_;
    CFRunLoopSourceRef source_;
};

SInt32 runDefault(double seconds, bool returnAfterSource) {
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, returnAfterSource);
}

constexpr double cForEver = 1e300;

TEST(CFRunLoop, FinishesWithoutSources) {
    EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunFinished);
    EXPECT_EQ(CFRunLoopRunInMode(nullptr, cForEver, false), kCFRunLoopRunFinished);
    int calls = 0;
    const Source source([&] { ++calls; });
    // In another mode, and removed by its own call.
    source.Add(CFSTR("other"));
    source.Signal();
    EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunFinished);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopCommonModes, cForEver, false), kCFRunLoopRunFinished);
    const Source own(
        [&] {
            ++calls;
            CFRunLoopRemoveSource(CFRunLoopGetCurrent(), own.Get(), CFSTR("other"));
            CFRunLoopSourceInvalidate(source.Get());
        },
        -1);
    own.Add(CFSTR("other"));
    own.Signal();
    EXPECT_EQ(CFRunLoopRunInMode(CFSTR("other"), cForEver, false), kCFRunLoopRunFinished);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(CFRunLoopSourceIsValid(source.Get()));
    EXPECT_FALSE(CFRunLoopContainsSource(CFRunLoopGetCurrent(), source.Get(), CFSTR("other")));
}

TEST(CFRunLoop, TellsHowARunEnded) {
    int calls = 0;
    const Source source([&] { ++calls; });
    source.Add(kCFRunLoopCommonModes);
    source.Add();  // Attached in both, called once.
    EXPECT_EQ(runDefault(0, true), kCFRunLoopRunTimedOut);
    EXPECT_EQ(runDefault(0.001, true), kCFRunLoopRunTimedOut);
    source.Signal();
    source.Signal();
    EXPECT_EQ(runDefault(cForEver, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(calls, 1);
    source.Signal();
    EXPECT_EQ(runDefault(-1, false), kCFRunLoopRunTimedOut);
    EXPECT_EQ(calls, 2);
    CFRunLoopStop(CFRunLoopGetCurrent());
    EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunStopped);
    const Source stops([&] { CFRunLoopStop(CFRunLoopGetCurrent()); });
    stops.Add();
    stops.Signal();
    EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunStopped);
    stops.Signal();
    CFRunLoopRun();
    EXPECT_EQ(runDefault(0, false), kCFRunLoopRunTimedOut);
}

TEST(CFRunLoop, CallsByOrderAndGivesEveryoneATurn) {
    std::string calls;
    const Source late([&] { calls += "c"; }, 5);
    const Source first([&] { calls += "a"; }, -5);
    const Source busy([&] {
        calls += "b";
        busy.Signal();
    });
    const Source other([&] { calls += "o"; });
    for (const Source* source : {&late, &first, &busy, &other}) {
        source->Add();
        source->Signal();
    }
    EXPECT_EQ(runDefault(0, false), kCFRunLoopRunTimedOut);
    EXPECT_EQ(calls, "aboc");
    calls.clear();
    other.Signal();
    EXPECT_EQ(runDefault(0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(runDefault(0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(calls, "bo");
}

TEST(CFRunLoop, RunsInsideItself) {
    SInt32 inner = 0;
    const Source nested([&] { inner = runDefault(0, false); });
    nested.Add();
    nested.Signal();
    EXPECT_EQ(runDefault(0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(inner, kCFRunLoopRunTimedOut);
    const Source stopsInner([&] {
        CFRunLoopStop(CFRunLoopGetCurrent());
        inner = runDefault(cForEver, false);
    });
    stopsInner.Add();
    stopsInner.Signal();
    EXPECT_EQ(runDefault(0, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(inner, kCFRunLoopRunStopped);
}

// Signals that are followed by a wake-up only where the loop says that it waits: one that fell
// between its last look and its wait would be lost, and the hand-over would stand still.
TEST(CFRunLoop, LosesNoSignal) {
    constexpr int cRounds = 20000;
    std::atomic<int> performed{0};
    std::atomic<CFRunLoopRef> loop{nullptr};
    const Source source([&] { ++performed; });
    std::thread worker([&] {
        source.Add();
        loop = CFRunLoopGetCurrent();
        // The signaller looks at the loop once more after the last round.
        CFRetain(loop);
        while (performed < cRounds) {
            EXPECT_EQ(runDefault(cForEver, true), kCFRunLoopRunHandledSource);
        }
    });
    while (loop == nullptr) {
        std::this_thread::yield();
    }
    for (int round = 0; round < cRounds; ++round) {
        const CFRunLoopRef target = loop;
        source.Signal();
        if (CFRunLoopIsWaiting(target)) {
            CFRunLoopWakeUp(target);
        }
        while (performed == round) {
            std::this_thread::yield();
        }
    }
    worker.join();
    CFRelease(loop);
}

TEST(CFRunLoop, AWakeUpBeforeTheWaitEndsIt) {
    const Source source([] {});
    source.Add();
    CFRunLoopWakeUp(CFRunLoopGetCurrent());
    std::thread stopper([loop = CFRunLoopGetCurrent()] { CFRunLoopStop(loop); });
    EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunStopped);
    stopper.join();
}

TEST(CFRunLoop, OutlivesItsThreadWithoutWhatWasAttached) {
    std::atomic<int> released{0};
    CFRunLoopRef loop = nullptr;
    std::thread([&] {
        loop = CFRunLoopGetCurrent();
        EXPECT_EQ(loop, CFRunLoopGetCurrent());
        CFRetain(loop);
        CFRunLoopSourceContext context{};
        context.info = &released;
        context.release = [](const void* info) {
            ++*static_cast<std::atomic<int>*>(const_cast<void*>(info));
        };
        CFRunLoopSourceRef source = CFRunLoopSourceCreate(nullptr, 0, &context);
        CFRunLoopAddSource(loop, source, kCFRunLoopDefaultMode);
        CFRelease(source);
        EXPECT_EQ(released, 0);
    }).join();
    EXPECT_EQ(released, 1);
    EXPECT_NE(loop, CFRunLoopGetCurrent());
    CFRunLoopWakeUp(loop);
    EXPECT_FALSE(CFRunLoopIsWaiting(loop));
    CFRelease(loop);
}

TEST(CFRunLoop, IgnoresWhatIsNoLoop) {
    CFRunLoopSourceContext context{};
    context.version = 1;
    EXPECT_EQ(CFRunLoopSourceCreate(nullptr, 0, &context), nullptr);
    EXPECT_EQ(CFRunLoopSourceCreate(nullptr, 0, nullptr), nullptr);
    auto* text = reinterpret_cast<CFRunLoopRef>(
        const_cast<void*>(static_cast<const void*>(kCFRunLoopDefaultMode)));
    for (CFRunLoopRef wrong : {CFRunLoopRef{nullptr}, text}) {
        CFRunLoopWakeUp(wrong);
        CFRunLoopStop(wrong);
        CFRunLoopAddSource(wrong, nullptr, kCFRunLoopDefaultMode);
        EXPECT_FALSE(CFRunLoopIsWaiting(wrong));
    }
    CFRunLoopSourceSignal(nullptr);
    CFRunLoopSourceInvalidate(nullptr);
    EXPECT_FALSE(CFRunLoopSourceIsValid(nullptr));
}

}  // namespace
