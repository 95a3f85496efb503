// The C interface of run loops and their sources.
#include "corefoundation/runloop/RunLoop.h"
#include "corefoundation/runloop/RunLoopSource.h"

#include <CoreFoundation/CFString.h>

#include <cmath>

using tvplatform::As;
using tvplatform::Clock;
using tvplatform::RunLoop;
using tvplatform::RunLoopSource;
using tvplatform::ToRef;

namespace {

// A year stands for "for ever"; it also keeps the clock's arithmetic in range.
constexpr double cLongestRun = 365.0 * 24 * 3600;

bool isMode(CFStringRef mode) {
    return mode != nullptr && CFGetTypeID(mode) == CFStringGetTypeID();
}

Clock::time_point after(double seconds) {
    if (!(seconds > 0)) {
        return Clock::time_point::min();
    }
    const std::chrono::duration<double> length(std::fmin(seconds, cLongestRun));
    return Clock::now() + std::chrono::ceil<Clock::duration>(length);
}

}  // namespace

extern "C" {

const CFRunLoopMode kCFRunLoopDefaultMode = CFSTR("kCFRunLoopDefaultMode");
const CFRunLoopMode kCFRunLoopCommonModes = CFSTR("kCFRunLoopCommonModes");

CFRunLoopRef CFRunLoopGetCurrent(void) {
    return ToRef<CFRunLoopRef>(RunLoop::Current());
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
    if (!isMode(mode) || CFEqual(mode, kCFRunLoopCommonModes)) {
        return kCFRunLoopRunFinished;
    }
    return RunLoop::Current()->Run(mode, after(seconds), returnAfterSourceHandled != 0);
}

Boolean CFRunLoopIsWaiting(CFRunLoopRef loop) {
    const auto* self = As<RunLoop>(loop);
    return self != nullptr && self->IsWaiting();
}

void CFRunLoopWakeUp(CFRunLoopRef loop) {
    if (auto* self = As<RunLoop>(loop)) {
        self->WakeUp();
    }
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    auto* self = As<RunLoop>(loop);
    auto* item = As<RunLoopSource>(source);
    if (self != nullptr && item != nullptr && isMode(mode)) {
        self->Attach(*item, mode);
        self->WakeUp();
    }
}

CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef, CFIndex order,
                                         CFRunLoopSourceContext* context) {
    if (context == nullptr || context->version != 0) {
        return nullptr;
    }
    return ToRef<CFRunLoopSourceRef>(new RunLoopSource(order, *context));
}

void CFRunLoopSourceSignal(CFRunLoopSourceRef source) {
    if (auto* self = As<RunLoopSource>(source)) {
        self->Signal();
    }
}

}  // extern "C"
