// Streams of bytes that arrive over time. A stream is opened, then read either by waiting in
// CFReadStreamRead or from the callback of a client on a run loop. Any thread may call anything on
// a stream; callbacks come on the thread of the run loop, one at a time, with no lock held.
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
    kCFStreamStatusReading = 3,
    kCFStreamStatusWriting = 4,
    kCFStreamStatusAtEnd = 5,
    kCFStreamStatusClosed = 6,
    kCFStreamStatusError = 7
};

typedef CFOptionFlags CFStreamEventType;
enum {
    kCFStreamEventNone = 0,
    kCFStreamEventOpenCompleted = 1,
    kCFStreamEventHasBytesAvailable = 2,
    kCFStreamEventCanAcceptBytes = 4,
    kCFStreamEventErrorOccurred = 8,
    kCFStreamEventEndEncountered = 16
};

typedef CFIndex CFStreamErrorDomain;
enum {
    kCFStreamErrorDomainCustom = -1,
    kCFStreamErrorDomainPOSIX = 1,
    kCFStreamErrorDomainMacOSStatus = 2
};

// The domain tells how to read the number: an errno in the POSIX domain. Both are 0 for no error.
typedef struct CFStreamError {
    CFStreamErrorDomain domain;
    SInt32 error;
} CFStreamError;

// `retain` and `release`, where given, keep `info` until the client is replaced and no callback
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

CF_EXPORT CFTypeID CFReadStreamGetTypeID(void);
CF_EXPORT CFStreamStatus CFReadStreamGetStatus(CFReadStreamRef stream);
// What went wrong; {0, 0} unless the status is kCFStreamStatusError.
CF_EXPORT CFStreamError CFReadStreamGetError(CFReadStreamRef stream);

// Begins to open the stream and does not wait: the status is kCFStreamStatusOpening until the peer
// has answered. False at once, with status and error set, for what can never be opened; false and
// no change for a stream that was opened before.
CF_EXPORT Boolean CFReadStreamOpen(CFReadStreamRef stream);
// Drops what was not read, gives back the connection, takes the stream off its run loops. No
// callback begins afterwards; one that runs on another thread is not waited for. Final.
CF_EXPORT void CFReadStreamClose(CFReadStreamRef stream);
// True when a read would not wait: bytes are there, or the end or an error is.
CF_EXPORT Boolean CFReadStreamHasBytesAvailable(CFReadStreamRef stream);
// Reads at most `bufferLength` bytes and returns how many; waits until there is at least one. 0 at
// the end, -1 on an error and for a stream that is not open.
CF_EXPORT CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8* buffer, CFIndex bufferLength);

// A new reference on the value, or null for an unknown property or one that has no value yet.
CF_EXPORT CFTypeRef CFReadStreamCopyProperty(CFReadStreamRef stream,
                                             CFStreamPropertyKey propertyName);
// False for an unknown property, a value of the wrong type, or a stream that was opened.
CF_EXPORT Boolean CFReadStreamSetProperty(CFReadStreamRef stream, CFStreamPropertyKey propertyName,
                                          CFTypeRef propertyValue);

// Registers the one client of the stream for the events in `streamEvents`, or none when the events
// are 0, the callback is null or the context is null. False for no stream, or a context whose
// version is not 0. "Has bytes available" comes again only after a read; the end comes after all
// bytes were read; each other event comes once.
CF_EXPORT Boolean CFReadStreamSetClient(CFReadStreamRef stream, CFOptionFlags streamEvents,
                                        CFReadStreamClientCallBack clientCB,
                                        CFStreamClientContext* clientContext);
// The transfer advances and the client is called while the loop runs in that mode. A run loop
// retains the stream until it is unscheduled or closed. One loop at a time: scheduling on another
// one moves the stream.
CF_EXPORT void CFReadStreamScheduleWithRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop,
                                               CFRunLoopMode runLoopMode);
CF_EXPORT void CFReadStreamUnscheduleFromRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop,
                                                 CFRunLoopMode runLoopMode);

CF_EXTERN_C_END
