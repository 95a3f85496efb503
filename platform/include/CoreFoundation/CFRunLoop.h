// SPDX-License-Identifier: LicenseRef-TVframework
// A thread's event loop: it waits for sources that a program signals and for the streams that are
// scheduled on it, and calls them back on its own thread. A loop belongs to one thread. The first
// CFRunLoopGetCurrent of the thread makes it, and it goes when the thread ends. Any thread may call
// anything but CFRunLoopRunInMode.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef CFStringRef CFRunLoopMode;

// An item that is attached in the common modes is served in the default mode, which is the only
// common one here. A loop never runs in kCFRunLoopCommonModes itself.
CF_EXPORT const CFRunLoopMode kCFRunLoopDefaultMode;
CF_EXPORT const CFRunLoopMode kCFRunLoopCommonModes;

typedef SInt32 CFRunLoopRunResult;
enum { kCFRunLoopRunFinished = 1, kCFRunLoopRunTimedOut = 3, kCFRunLoopRunHandledSource = 4 };

// Describes a source of version 0. Only `perform` is needed. It runs on the thread of the run loop,
// and no lock is held then. `retain` and `release`, if given, keep `info` as long as the source
// lives.
typedef struct CFRunLoopSourceContext {
    CFIndex version;
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    CFStringRef (*copyDescription)(const void* info);
    Boolean (*equal)(const void* a, const void* b);
    CFHashCode (*hash)(const void* info);
    void (*schedule)(void* info, CFRunLoopRef loop, CFRunLoopMode mode);
    void (*cancel)(void* info, CFRunLoopRef loop, CFRunLoopMode mode);
    void (*perform)(void* info);
} CFRunLoopSourceContext;

// Returns the calling thread's loop, borrowed. A caller that keeps it beyond the thread's life
// retains it: the object then stays, has nothing attached and never runs again.
CF_EXPORT CFRunLoopRef CFRunLoopGetCurrent(void);

// Runs the calling thread's loop in `mode` for at most `seconds`. For 0 or less it makes one pass
// and does not wait. Returns Finished if nothing is attached in that mode, TimedOut if the time is
// over, and HandledSource after one source or stream was called back, if `returnAfterSourceHandled`
// is true.
CF_EXPORT CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                                Boolean returnAfterSourceHandled);
// Returns true from before the loop's last look at its sources until its wait has ended. A source
// that is signalled while this is false is seen without a wake-up.
CF_EXPORT Boolean CFRunLoopIsWaiting(CFRunLoopRef loop);
// Ends the loop's wait, or its next one if it does not wait now. The loop then looks at its sources
// again.
CF_EXPORT void CFRunLoopWakeUp(CFRunLoopRef loop);

// Attaches a source. The loop retains the source and the mode. A second call for the same mode
// changes nothing.
CF_EXPORT void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);

// Returns a new source, which the caller owns, or null if the context is null or its version is not
// 0. Among several sources that are due, the loop calls one with a lower `order` first. It does not
// call `schedule`, `cancel`, `equal` and `hash`.
CF_EXPORT CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef allocator, CFIndex order,
                                                   CFRunLoopSourceContext* context);
// Makes the source due. Several signals before the call make one call. A signal does not end a
// wait: CFRunLoopWakeUp does.
CF_EXPORT void CFRunLoopSourceSignal(CFRunLoopSourceRef source);

CF_EXTERN_C_END
