// The C interface of read streams.
#include "corefoundation/runloop/ReadStream.h"

#include <CoreFoundation/CFString.h>

using tvplatform::As;
using tvplatform::ReadStream;
using tvplatform::RunLoop;

namespace {

bool isString(CFTypeRef object) {
    return object != nullptr && CFGetTypeID(object) == CFStringGetTypeID();
}

}  // namespace

extern "C" {

CFStreamStatus CFReadStreamGetStatus(CFReadStreamRef stream) {
    const auto* self = As<ReadStream>(stream);
    return self != nullptr ? self->Status() : CFStreamStatus{kCFStreamStatusNotOpen};
}

CFStreamError CFReadStreamGetError(CFReadStreamRef stream) {
    const auto* self = As<ReadStream>(stream);
    return self != nullptr ? self->Error() : CFStreamError{0, 0};
}

Boolean CFReadStreamOpen(CFReadStreamRef stream) {
    auto* self = As<ReadStream>(stream);
    return self != nullptr && self->Open();
}

void CFReadStreamClose(CFReadStreamRef stream) {
    if (auto* self = As<ReadStream>(stream)) {
        self->Close();
    }
}

CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8* buffer, CFIndex bufferLength) {
    auto* self = As<ReadStream>(stream);
    return self != nullptr ? self->Read(buffer, bufferLength) : -1;
}

CFTypeRef CFReadStreamCopyProperty(CFReadStreamRef stream, CFStreamPropertyKey propertyName) {
    const auto* self = As<ReadStream>(stream);
    return self != nullptr && isString(propertyName) ? self->CopyProperty(propertyName) : nullptr;
}

Boolean CFReadStreamSetProperty(CFReadStreamRef stream, CFStreamPropertyKey propertyName,
                                CFTypeRef propertyValue) {
    auto* self = As<ReadStream>(stream);
    return self != nullptr && isString(propertyName) &&
           self->SetProperty(propertyName, propertyValue);
}

Boolean CFReadStreamSetClient(CFReadStreamRef stream, CFOptionFlags streamEvents,
                              CFReadStreamClientCallBack clientCB,
                              CFStreamClientContext* clientContext) {
    auto* self = As<ReadStream>(stream);
    if (self == nullptr || (clientContext != nullptr && clientContext->version != 0)) {
        return false;
    }
    self->SetClient(streamEvents, clientCB, clientContext);
    return true;
}

void CFReadStreamScheduleWithRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop,
                                     CFRunLoopMode runLoopMode) {
    auto* self = As<ReadStream>(stream);
    auto* loop = As<RunLoop>(runLoop);
    if (self != nullptr && loop != nullptr && isString(runLoopMode)) {
        self->Schedule(*loop, runLoopMode);
    }
}

void CFReadStreamUnscheduleFromRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop,
                                       CFRunLoopMode runLoopMode) {
    auto* self = As<ReadStream>(stream);
    auto* loop = As<RunLoop>(runLoop);
    if (self != nullptr && loop != nullptr && isString(runLoopMode)) {
        self->Unschedule(*loop, runLoopMode);
    }
}

}  // extern "C"
