// The C interface of HTTP messages.
#include "cfnetwork/HttpMessage.h"

#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

using tvplatform::As;
using tvplatform::CreateString;
using tvplatform::HttpMessage;
using tvplatform::ToRef;
using tvplatform::Utf8Of;

extern "C" {

const CFStringRef kCFHTTPVersion1_0 = CFSTR("HTTP/1.0");
const CFStringRef kCFHTTPVersion1_1 = CFSTR("HTTP/1.1");

CFTypeID CFHTTPMessageGetTypeID(void) {
    return static_cast<CFTypeID>(HttpMessage::cType);
}

CFHTTPMessageRef CFHTTPMessageCreateRequest(CFAllocatorRef, CFStringRef requestMethod, CFURLRef url,
                                            CFStringRef httpVersion) {
    if (url == nullptr || CFGetTypeID(url) != CFURLGetTypeID()) {
        return nullptr;
    }
    const auto method = Utf8Of(requestMethod);
    const auto address = Utf8Of(CFURLGetString(url));
    const auto version = Utf8Of(httpVersion);
    if (!method || !address || !version || address->find(':') == std::string::npos) {
        return nullptr;
    }
    return ToRef<CFHTTPMessageRef>(new HttpMessage(*method, url, *address, *version));
}

void CFHTTPMessageSetHeaderFieldValue(CFHTTPMessageRef message, CFStringRef headerField,
                                      CFStringRef value) {
    auto* self = As<HttpMessage>(message);
    const auto name = Utf8Of(headerField);
    const auto text = Utf8Of(value);
    if (self != nullptr && name && (text || value == nullptr)) {
        self->SetHeader(*name, text);
    }
}

Boolean CFHTTPMessageIsRequest(CFHTTPMessageRef message) {
    const auto* self = As<HttpMessage>(message);
    return self != nullptr && self->IsRequest();
}

CFURLRef CFHTTPMessageCopyRequestURL(CFHTTPMessageRef request) {
    const auto* self = As<HttpMessage>(request);
    return self != nullptr ? static_cast<CFURLRef>(CFRetain(self->Url())) : nullptr;
}

CFStringRef CFHTTPMessageCopyRequestMethod(CFHTTPMessageRef request) {
    const auto* self = As<HttpMessage>(request);
    return self != nullptr && self->IsRequest() ? CreateString(self->Method()) : nullptr;
}

CFStringRef CFHTTPMessageCopyVersion(CFHTTPMessageRef message) {
    const auto* self = As<HttpMessage>(message);
    return self != nullptr ? CreateString(self->Version()) : nullptr;
}

CFStringRef CFHTTPMessageCopyHeaderFieldValue(CFHTTPMessageRef message, CFStringRef headerField) {
    const auto* self = As<HttpMessage>(message);
    const auto name = Utf8Of(headerField);
    if (self == nullptr || !name) {
        return nullptr;
    }
    const auto value = self->Header(*name);
    return value ? CreateString(*value) : nullptr;
}

CFIndex CFHTTPMessageGetResponseStatusCode(CFHTTPMessageRef response) {
    const auto* self = As<HttpMessage>(response);
    return self != nullptr ? self->Status() : 0;
}

}  // extern "C"
