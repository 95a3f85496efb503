#include "cfnetwork/HttpDriver.h"

#include "cfnetwork/HttpLoader.h"

#include <CFNetwork/CFHTTPStream.h>
#include <CoreFoundation/CFNumber.h>

#include <strings.h>

#include <cerrno>

namespace tvplatform {
namespace {

bool isWebScheme(std::string_view scheme) {
    return (scheme.size() == 4 && strncasecmp(scheme.data(), "http", 4) == 0) ||
           (scheme.size() == 5 && strncasecmp(scheme.data(), "https", 5) == 0);
}

// Returns true if the address has a scheme that can be fetched, and a host.
bool isWebAddress(std::string_view address) {
    const size_t colon = address.find("://");
    if (colon == std::string_view::npos || !isWebScheme(address.substr(0, colon))) {
        return false;
    }
    std::string_view authority = address.substr(colon + 3);
    authority = authority.substr(0, authority.find_first_of("/?#"));
    if (const size_t at = authority.rfind('@'); at != std::string_view::npos) {
        authority.remove_prefix(at + 1);
    }
    return !authority.empty() && authority.front() != ':';
}

bool is(CFStringRef name, CFStringRef property) {
    return CFEqual(name, property);
}

}  // namespace

HttpDriver::HttpDriver(const HttpMessage& request)
    : message_(request), canBeSent_(request.Method() == "GET" && isWebAddress(request.Address())),
      open_(canBeSent_ ? LoadHttp() : nullptr) {}

std::shared_ptr<HttpTransfer> HttpDriver::Transfer() const {
    const std::lock_guard guard(lock_);
    return transfer_;
}

bool HttpDriver::Open(CFStreamError& error) {
    if (!canBeSent_) {
        error = {kCFStreamErrorDomainHTTP, kCFStreamErrorHTTPBadURL};
        return false;
    }
    HttpRequest request;
    request.url = message_.Address();
    request.headers = message_.HeaderLines();
    request.followRedirects = followRedirects_;
    std::shared_ptr<HttpTransfer> transfer;
    if (open_ == nullptr || !open_(request, transfer)) {
        error = {kCFStreamErrorDomainPOSIX, open_ == nullptr ? ENOSYS : ENOMEM};
        return false;
    }
    const std::lock_guard guard(lock_);
    transfer_ = std::move(transfer);
    return true;
}

void HttpDriver::Close() {
    if (const auto transfer = Transfer()) {
        transfer->Cancel();
    }
}

void HttpDriver::Prepare(PollSet& set) {
    if (const auto transfer = Transfer()) {
        transfer->Prepare(set);
    }
}

void HttpDriver::Step(std::span<const pollfd> polled) {
    if (const auto transfer = Transfer()) {
        transfer->Step(polled);
    }
}

DriverState HttpDriver::State() const {
    const auto transfer = Transfer();
    return transfer ? transfer->State() : DriverState{};
}

size_t HttpDriver::Read(UInt8* buffer, size_t size) {
    const auto transfer = Transfer();
    return transfer ? transfer->Read(buffer, size) : 0;
}

bool HttpDriver::SetProperty(CFStringRef name, CFTypeRef value) {
    if (!is(name, kCFStreamPropertyHTTPShouldAutoredirect) || value == nullptr ||
        CFGetTypeID(value) != CFBooleanGetTypeID()) {
        return false;
    }
    followRedirects_ = CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    return true;
}

CFTypeRef HttpDriver::CopyProperty(CFStringRef name) const {
    if (is(name, kCFStreamPropertyHTTPShouldAutoredirect)) {
        return CFRetain(followRedirects_ ? kCFBooleanTrue : kCFBooleanFalse);
    }
    const auto transfer = Transfer();
    const int status = transfer ? transfer->Status() : 0;
    return status != 0 && is(name, kCFStreamPropertyHTTPResponseHeader)
               ? ToRef<CFTypeRef>(new HttpMessage(status))
               : nullptr;
}

}  // namespace tvplatform
