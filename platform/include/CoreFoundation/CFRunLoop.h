// A thread's event loop: it waits for sources that a program signals and for the streams that are
// scheduled on it, and calls them back on its own thread. A loop belongs to one thread, which makes
// it with its first CFRunLoopGetCurrent and loses it when it ends. Everything but CFRunLoopRun and
// CFRunLoopRunInMode may be called from any thread.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef CFStringRef CFRunLoopMode;

// What is attached in the common modes is served in the default mode, the only common one here. A
// loop never runs in kCFRunLoopCommonModes itself.
CF_EXPORT const CFRunLoopMode kCFRunLoopDefaultMode;
CF_EXPORT const CFRunLoopMode kCFRunLoopCommonModes;

typedef SInt32 CFRunLoopRunResult;
enum {
    kCFRunLoopRunFinished = 1,
    kCFRunLoopRunStopped = 2,
    kCFRunLoopRunTimedOut = 3,
    kCFRunLoopRunHandledSource = 4
};

// A source of version 0. Only `perform` is needed; it runs on the thread of the run loop, with no
// lock held. `retain` and `release`, where given, keep `info` as long as the source lives.
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

// The calling thread's loop, borrowed. Whoever keeps it beyond the thread's life retains it: the
// object then stays, with nothing attached, and never runs again.
CF_EXPORT CFRunLoopRef CFRunLoopGetCurrent(void);

// Runs the calling thread's loop in the default mode until it is stopped or nothing is attached.
CF_EXPORT void CFRunLoopRun(void);
// Runs the calling thread's loop in `mode` for at most `seconds` (0 or less: one pass without
// waiting). Finished: nothing is attached in that mode. Stopped: CFRunLoopStop was called, be it
// before this call. HandledSource: only with `returnAfterSourceHandled`, after one source or stream
// was called back.
CF_EXPORT CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                                Boolean returnAfterSourceHandled);
// True from before the loop's last look at its sources until its wait has ended: a source that was
// signalled while this is false is seen without a wake-up.
CF_EXPORT Boolean CFRunLoopIsWaiting(CFRunLoopRef loop);
// Ends the loop's wait, or its next one when it does not wait now; it looks at its sources again.
CF_EXPORT void CFRunLoopWakeUp(CFRunLoopRef loop);
// Makes the run under way, or the next one when none is, return as stopped.
CF_EXPORT void CFRunLoopStop(CFRunLoopRef loop);

// A loop retains what is attached to it. Adding twice in one mode changes nothing; an invalid
// source is not added.
CF_EXPORT void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
CF_EXPORT void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source,
                                     CFRunLoopMode mode);
CF_EXPORT Boolean CFRunLoopContainsSource(CFRunLoopRef loop, CFRunLoopSourceRef source,
                                          CFRunLoopMode mode);

// A new source, owned by the caller; null for a null context or one whose version is not 0. Among
// several that are due, a lower `order` is called first. `schedule`, `cancel`, `equal` and `hash`
// are not called.
CF_EXPORT CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef allocator, CFIndex order,
                                                   CFRunLoopSourceContext* context);
// Makes the source due, once however often it is signalled before it is called. Does not end a
// wait: CFRunLoopWakeUp does.
CF_EXPORT void CFRunLoopSourceSignal(CFRunLoopSourceRef source);
// The source is never called again and drops out of every loop.
CF_EXPORT void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source);
CF_EXPORT Boolean CFRunLoopSourceIsValid(CFRunLoopSourceRef source);

CF_EXPORT CFTypeID CFRunLoopGetTypeID(void);
CF_EXPORT CFTypeID CFRunLoopSourceGetTypeID(void);

CF_EXTERN_C_END
