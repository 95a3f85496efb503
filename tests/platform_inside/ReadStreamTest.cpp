// Read streams and run loops over a driver of the test, which looks at them from between their
// steps.
#include "corefoundation/runloop/ReadStream.h"
#include "tests/support/AtUnlock.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <functional>
#include <thread>

using tvplatform::Clock;
using tvplatform::ReadStream;
using tvplatform::Ref;
using tvplatform::RunLoop;

namespace {

// Brings nothing, and runs a function of the test whenever somebody is about to wait for it.
class Driver final : public tvplatform::ReadStreamDriver {
public:
    explicit Driver(std::function<void()> onPrepare = {}) : onPrepare_(std::move(onPrepare)) {}

    void Open() override {}
    void Close() override {}
    void Prepare(tvplatform::PollSet& set) override {
        if (onPrepare_) {
            onPrepare_();
        }
        set.WaitUntil(limit_);
    }
    void Step(std::span<const pollfd>) override { EXPECT_LT(Clock::now(), limit_) << "not woken"; }
    tvplatform::DriverState State() const override { return {}; }
    size_t Read(UInt8*, size_t) override { return 0; }
    bool SetProperty(CFStringRef, CFTypeRef) override { return false; }
    CFTypeRef CopyProperty(CFStringRef) const override { return nullptr; }

private:
    const std::function<void()> onPrepare_;
    // A wait that nobody ends makes the test fail and not hang.
    const Clock::time_point limit_ = Clock::now() + std::chrono::seconds(20);
};

Ref<ReadStream*> makeStream(std::function<void()> onPrepare = {}) {
    return Ref<ReadStream*>(new ReadStream(std::make_unique<Driver>(std::move(onPrepare))));
}

SInt32 runOnce() {
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true);
}

TEST(RunLoop, CountsAsWaitingBeforeItsLastLook) {
    int looks = 0;
    const auto stream = makeStream([&] {
        ++looks;
        EXPECT_TRUE(RunLoop::Current()->IsWaiting());
    });
    stream->Schedule(*RunLoop::Current(), kCFRunLoopDefaultMode);
    EXPECT_EQ(runOnce(), kCFRunLoopRunTimedOut);
    EXPECT_FALSE(RunLoop::Current()->IsWaiting());
    EXPECT_EQ(looks, 1);
    stream->Close();
}

TEST(RunLoop, RetainsItsModes) {
    const auto stream = makeStream();
    const Ref<CFMutableStringRef> mode(CFStringCreateMutable(nullptr, 0));
    CFStringAppend(mode.Get(), CFSTR("a mode of the test"));
    const auto* object = reinterpret_cast<const tvplatform::Object*>(mode.Get());
    stream->Schedule(*RunLoop::Current(), mode.Get());
    EXPECT_EQ(object->Count(), 2);
    stream->Close();
    EXPECT_EQ(object->Count(), 1);
}

// The close falls between the reader's last look at the stream and its wait.
TEST(ReadStream, ACloseWakesTheReader) {
    Ref<ReadStream*> stream;
    stream = makeStream([&] { std::thread([&] { stream->Close(); }).join(); });
    ASSERT_TRUE(stream->Open());
    UInt8 byte = 0;
    EXPECT_EQ(stream->Read(&byte, 1), -1);
}

// Wherever the close falls, the loop does not keep the stream.
TEST(ReadStream, ACloseBeatsScheduling) {
    for (int step = 1; step <= 8; ++step) {
        const auto stream = makeStream();
        const tvtest::AtUnlock close(step, [&] { stream->Close(); });
        stream->Schedule(*RunLoop::Current(), kCFRunLoopDefaultMode);
        stream->Close();
        EXPECT_EQ(runOnce(), kCFRunLoopRunFinished) << step;
        EXPECT_EQ(stream->Count(), 1) << step;
    }
}

}  // namespace
