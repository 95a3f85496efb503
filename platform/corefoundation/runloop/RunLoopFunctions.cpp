// The C interface of run loops and their sources.
#include "corefoundation/runloop/RunLoop.h"

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

namespace tvplatform {

RunLoopSource::RunLoopSource(CFIndex order, const CFRunLoopSourceContext& context)
    : RunLoopItem(cType, order), context_(context) {
    if (context_.retain != nullptr) {
        context_.retain(context_.info);
    }
}

RunLoopSource::~RunLoopSource() {
    if (context_.release != nullptr) {
        context_.release(context_.info);
    }
}

void RunLoopSource::Prepare(PollSet& set) {
    if (signalled_) {
        set.DoNotWait();
    }
}

bool RunLoopSource::Fire(std::span<const pollfd>) {
    if (!valid_ || !signalled_.exchange(false)) {
        return false;
    }
    if (context_.perform != nullptr) {
        context_.perform(context_.info);
    }
    return true;
}

}  // namespace tvplatform

extern "C" {

const CFRunLoopMode kCFRunLoopDefaultMode = CFSTR("kCFRunLoopDefaultMode");
const CFRunLoopMode kCFRunLoopCommonModes = CFSTR("kCFRunLoopCommonModes");

CFTypeID CFRunLoopGetTypeID(void) {
    return static_cast<CFTypeID>(RunLoop::cType);
}

CFTypeID CFRunLoopSourceGetTypeID(void) {
    return static_cast<CFTypeID>(RunLoopSource::cType);
}

CFRunLoopRef CFRunLoopGetCurrent(void) {
    return ToRef<CFRunLoopRef>(RunLoop::Current());
}

void CFRunLoopRun(void) {
    SInt32 result = 0;
    do {
        result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, cLongestRun, false);
    } while (result == kCFRunLoopRunTimedOut);
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

void CFRunLoopStop(CFRunLoopRef loop) {
    if (auto* self = As<RunLoop>(loop)) {
        self->Stop();
    }
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    auto* self = As<RunLoop>(loop);
    auto* item = As<RunLoopSource>(source);
    if (self != nullptr && item != nullptr && item->IsValid() && isMode(mode)) {
        self->Attach(*item, mode);
        self->WakeUp();
    }
}

void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    auto* self = As<RunLoop>(loop);
    auto* item = As<RunLoopSource>(source);
    if (self != nullptr && item != nullptr && isMode(mode)) {
        self->Detach(*item, mode);
    }
}

Boolean CFRunLoopContainsSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    const auto* self = As<RunLoop>(loop);
    const auto* item = As<RunLoopSource>(source);
    return self != nullptr && item != nullptr && isMode(mode) && item->IsValid() &&
           self->IsAttached(*item, mode);
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

void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
    if (auto* self = As<RunLoopSource>(source)) {
        self->Invalidate();
    }
}

Boolean CFRunLoopSourceIsValid(CFRunLoopSourceRef source) {
    const auto* self = As<RunLoopSource>(source);
    return self != nullptr && self->IsValid();
}

}  // extern "C"
