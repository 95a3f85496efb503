// SPDX-License-Identifier: LicenseRef-TVframework
// Streams of bytes that arrive over time. A program opens a stream and then reads it, either by
// waiting in CFReadStreamRead or from the callback of a client on a run loop. Any thread may call
// anything on a stream. Callbacks come on the thread of the run loop, one at a time, and no lock is
// held then.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFRunLoop.h>

CF_EXTERN_C_BEGIN

typedef struct __CFReadStream* CFReadStreamRef;
typedef CFStringRef CFStreamPropertyKey;

typedef CFIndex CFStreamStatus;
enum {
    kCFStreamStatusNotOpen = 0,
    kCFStreamStatusOpening = 1,
    kCFStreamStatusOpen = 2,
    kCFStreamStatusAtEnd = 5,
    kCFStreamStatusClosed = 6,
    kCFStreamStatusError = 7
};

typedef CFOptionFlags CFStreamEventType;
enum {
    kCFStreamEventNone = 0,
    kCFStreamEventHasBytesAvailable = 2,
    kCFStreamEventErrorOccurred = 8,
    kCFStreamEventEndEncountered = 16
};

typedef CFIndex CFStreamErrorDomain;
enum { kCFStreamErrorDomainPOSIX = 1 };

// The domain tells how to read the number, which is an errno in the POSIX domain. Both are 0 for no
// error.
typedef struct CFStreamError {
    CFStreamErrorDomain domain;
    SInt32 error;
} CFStreamError;

// `retain` and `release`, if given, keep `info` until the client is replaced and no callback
// with it is running any more.
typedef struct CFStreamClientContext {
    CFIndex version;
    void* info;
    void* (*retain)(void* info);
    void (*release)(void* info);
    CFStringRef (*copyDescription)(void* info);
} CFStreamClientContext;

typedef void (*CFReadStreamClientCallBack)(CFReadStreamRef stream, CFStreamEventType type,
                                           void* clientCallBackInfo);

CF_EXPORT CFStreamStatus CFReadStreamGetStatus(CFReadStreamRef stream);
// Returns what went wrong, and {0, 0} unless the status is kCFStreamStatusError.
CF_EXPORT CFStreamError CFReadStreamGetError(CFReadStreamRef stream);

// Opens the stream and does not wait. The work begins when a run loop serves the stream or a thread
// waits in CFReadStreamRead. The status is kCFStreamStatusOpening until the peer has answered.
// Returns false and changes nothing if the stream was opened before.
CF_EXPORT Boolean CFReadStreamOpen(CFReadStreamRef stream);
// Drops what was not read, gives back the connection and takes the stream off its run loop, for
// good. No callback begins afterwards. The call does not wait for a callback that runs on another
// thread.
CF_EXPORT void CFReadStreamClose(CFReadStreamRef stream);
// Waits until there is at least one byte, reads at most `bufferLength` bytes and returns how many.
// Returns 0 at the end, and -1 on an error or if the stream is not open. A close on another thread
// ends the wait.
CF_EXPORT CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8* buffer, CFIndex bufferLength);

// Returns a new reference on the value, or null if the property is unknown or has no value yet.
CF_EXPORT CFTypeRef CFReadStreamCopyProperty(CFReadStreamRef stream,
                                             CFStreamPropertyKey propertyName);
// Returns false if the property is unknown, the value has the wrong type, or the stream was opened.
CF_EXPORT Boolean CFReadStreamSetProperty(CFReadStreamRef stream, CFStreamPropertyKey propertyName,
                                          CFTypeRef propertyValue);

// Registers the one client of the stream for the events in `streamEvents`, or none if the events
// are 0, the callback is null or the context is null. Returns false if there is no stream or the
// version of the context is not 0. "Has bytes available" comes again only after a read. The end or
// an error comes once, after all bytes were read.
CF_EXPORT Boolean CFReadStreamSetClient(CFReadStreamRef stream, CFOptionFlags streamEvents,
                                        CFReadStreamClientCallBack clientCB,
                                        CFStreamClientContext* clientContext);
// The transfer advances and the client is called while the loop runs in that mode. A run loop
// retains the stream until the stream is unscheduled or closed. A stream is on one loop at a time:
// scheduling it on another one moves it. A closed stream is not scheduled.
CF_EXPORT void CFReadStreamScheduleWithRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop,
                                               CFRunLoopMode runLoopMode);
CF_EXPORT void CFReadStreamUnscheduleFromRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop,
                                                 CFRunLoopMode runLoopMode);

CF_EXTERN_C_END
