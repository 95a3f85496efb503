// The C interface of HTTP streams.
#include "cfnetwork/HttpDriver.h"

#include <CFNetwork/CFHTTPStream.h>
#include <CoreFoundation/CFString.h>

using tvplatform::As;
using tvplatform::HttpDriver;
using tvplatform::HttpMessage;
using tvplatform::ReadStream;
using tvplatform::ToRef;

extern "C" {

const CFStreamPropertyKey kCFStreamPropertyHTTPResponseHeader =
    CFSTR("kCFStreamPropertyHTTPResponseHeader");
const CFStreamPropertyKey kCFStreamPropertyHTTPShouldAutoredirect =
    CFSTR("kCFStreamPropertyHTTPShouldAutoredirect");

CFReadStreamRef CFReadStreamCreateForHTTPRequest(CFAllocatorRef, CFHTTPMessageRef request) {
    const auto* message = As<HttpMessage>(request);
    if (message == nullptr || !message->IsRequest()) {
        return nullptr;
    }
    return ToRef<CFReadStreamRef>(new ReadStream(std::make_unique<HttpDriver>(*message)));
}

}  // extern "C"
