// The C interface of HTTP streams.
#include "cfnetwork/AsciiCase.h"
#include "cfnetwork/HttpDriver.h"
#include "cfnetwork/HttpLoader.h"

#include <CFNetwork/CFHTTPStream.h>
#include <CoreFoundation/CFString.h>

#include <charconv>

using tvplatform::As;
using tvplatform::HttpDriver;
using tvplatform::HttpMessage;
using tvplatform::IsSameIgnoringCase;
using tvplatform::ReadStream;
using tvplatform::ToRef;

namespace {

bool isPort(std::string_view digits) {
    unsigned port = 0;
    const char* end = digits.data() + digits.size();
    const auto parsed = std::from_chars(digits.data(), end, port);
    return digits.empty() ||
           (parsed.ec == std::errc() && parsed.ptr == end && port > 0 && port <= 0xFFFF);
}

// Returns true if the address has a scheme that can be fetched, a host, and no impossible port.
bool isWebAddress(std::string_view address) {
    const size_t colon = address.find("://");
    const std::string_view scheme = address.substr(0, colon);
    if (colon == std::string_view::npos ||
        !(IsSameIgnoringCase(scheme, "http") || IsSameIgnoringCase(scheme, "https"))) {
        return false;
    }
    std::string_view host = address.substr(colon + 3);
    host = host.substr(0, host.find_first_of("/?#"));
    host.remove_prefix(host.rfind('@') + 1);
    // An IPv6 literal has colons of its own, in brackets.
    const size_t bracket = host.rfind(']');
    const size_t port = host.find(':', bracket == std::string_view::npos ? 0 : bracket);
    return port != 0 && !host.empty() &&
           (port == std::string_view::npos || isPort(host.substr(port + 1)));
}

}  // namespace

extern "C" {

const CFStreamPropertyKey kCFStreamPropertyHTTPResponseHeader =
    CFSTR("kCFStreamPropertyHTTPResponseHeader");
const CFStreamPropertyKey kCFStreamPropertyHTTPShouldAutoredirect =
    CFSTR("kCFStreamPropertyHTTPShouldAutoredirect");

CFReadStreamRef CFReadStreamCreateForHTTPRequest(CFAllocatorRef, CFHTTPMessageRef request) {
    const auto* message = As<HttpMessage>(request);
    if (message == nullptr || message->Method() != "GET" || !isWebAddress(message->Address())) {
        return nullptr;
    }
    tvplatform::WatchExit();
    return ToRef<CFReadStreamRef>(new ReadStream(std::make_unique<HttpDriver>(*message)));
}

}  // extern "C"
