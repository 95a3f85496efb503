// The C interface of HTTP messages.
#include "cfnetwork/HttpMessage.h"

#include <CFNetwork/CFHTTPMessage.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

using tvplatform::As;
using tvplatform::HttpMessage;
using tvplatform::ToRef;

namespace {

// Returns nothing for null, another type, and a text that UTF-8 cannot hold.
std::optional<std::string> utf8Of(CFStringRef text) {
    if (text == nullptr || CFGetTypeID(text) != CFStringGetTypeID()) {
        return std::nullopt;
    }
    const CFRange all = CFRangeMake(0, CFStringGetLength(text));
    CFIndex size = 0;
    if (CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size) !=
        all.length) {
        return std::nullopt;
    }
    std::string bytes(static_cast<size_t>(size), '\0');
    CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(bytes.data()), size, &size);
    return bytes;
}

}  // namespace

extern "C" {

const CFStringRef kCFHTTPVersion1_1 = CFSTR("HTTP/1.1");

CFHTTPMessageRef CFHTTPMessageCreateRequest(CFAllocatorRef, CFStringRef requestMethod, CFURLRef url,
                                            CFStringRef httpVersion) {
    if (url == nullptr || CFGetTypeID(url) != CFURLGetTypeID()) {
        return nullptr;
    }
    const auto method = utf8Of(requestMethod);
    const auto address = utf8Of(CFURLGetString(url));
    if (!method || !address || !utf8Of(httpVersion) || address->find(':') == std::string::npos) {
        return nullptr;
    }
    return ToRef<CFHTTPMessageRef>(new HttpMessage(*method, *address));
}

void CFHTTPMessageSetHeaderFieldValue(CFHTTPMessageRef message, CFStringRef headerField,
                                      CFStringRef value) {
    auto* self = As<HttpMessage>(message);
    const auto name = utf8Of(headerField);
    const auto text = utf8Of(value);
    if (self != nullptr && name && (text || value == nullptr)) {
        self->SetHeader(*name, text);
    }
}

CFIndex CFHTTPMessageGetResponseStatusCode(CFHTTPMessageRef response) {
    const auto* self = As<HttpMessage>(response);
    return self != nullptr ? self->Status() : 0;
}

}  // extern "C"
