#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>

using namespace tvtest;

namespace {

// Attaches a source to the calling thread's loop. The source owns the function that it performs.
Owned<CFRunLoopSourceRef> attach(std::function<void()> perform,
                                 CFRunLoopMode mode = kCFRunLoopDefaultMode) {
    using Perform = std::function<void()>;
    CFRunLoopSourceContext context{};
    context.info = new Perform(std::move(perform));
    context.release = [](const void* info) { delete static_cast<const Perform*>(info); };
    context.perform = [](void* info) { (*static_cast<Perform*>(info))(); };
    auto source = Own(CFRunLoopSourceCreate(nullptr, 0, &context));
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source, mode);
    return source;
}

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
        const auto source = attach([&] { ++calls; }, CFSTR("other"));
        CFRunLoopSourceSignal(source);
        EXPECT_EQ(runDefault(cForEver, false), kCFRunLoopRunFinished);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source, kCFRunLoopCommonModes);
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source,
                           kCFRunLoopDefaultMode);  // It is called once all the same.
        EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopCommonModes, cForEver, false),
                  kCFRunLoopRunFinished);
        EXPECT_EQ(CFRunLoopRunInMode(CFSTR("other"), 0, true), kCFRunLoopRunHandledSource);
        EXPECT_EQ(runDefault(0.001, true), kCFRunLoopRunTimedOut);
        CFRunLoopSourceSignal(source);
        CFRunLoopSourceSignal(source);
        EXPECT_EQ(runDefault(cForEver, true), kCFRunLoopRunHandledSource);
        CFRunLoopSourceSignal(source);
        EXPECT_EQ(runDefault(-1, false), kCFRunLoopRunTimedOut);
        EXPECT_EQ(calls, 3);
    });
}

// Each signal is followed by a wake-up only if the loop says that it waits, and a wake-up alone
// ends the first wait. A signal that is lost makes the test stand still.
TEST(CFRunLoop, LosesNoSignal) {
    constexpr int cRounds = 20000;
    std::atomic<int> performed{0};
    CFRunLoopSourceRef shared = nullptr;
    std::promise<CFRunLoopRef> loop;
    std::thread worker([&] {
        const auto source = attach([&] { ++performed; });
        shared = source;
        CFRetain(CFRunLoopGetCurrent());
        loop.set_value(CFRunLoopGetCurrent());
        while (performed < cRounds) {
            EXPECT_EQ(runDefault(cForEver, true), kCFRunLoopRunHandledSource);
        }
    });
    const CFRunLoopRef target = loop.get_future().get();
    for (int round = 0; round < cRounds; ++round) {
        CFRunLoopSourceSignal(shared);
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
    const auto held = std::make_shared<int>();
    onNewLoop([&held] {
        attach([held] {});
        EXPECT_EQ(held.use_count(), 2);
        // A cancellation that comes so late must not unwind through the end of the loop.
        pthread_cancel(pthread_self());
    });
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
