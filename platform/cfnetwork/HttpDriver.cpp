#include "cfnetwork/HttpDriver.h"

#include "cfnetwork/HttpLoader.h"

#include <CFNetwork/CFHTTPStream.h>
#include <CoreFoundation/CFNumber.h>

#include <cerrno>
#include <new>

namespace tvplatform {
namespace {

// Returns null and sets `error` if the transfer cannot begin. `error` is an errno.
std::shared_ptr<HttpTransfer> begin(const HttpMessage& message, bool followRedirects, int& error) {
    std::shared_ptr<HttpTransfer> transfer;
    error = ENOMEM;
    try {
        const HttpOpenFunction open = LoadHttp();
        const HttpRequest request{.url = message.Address(),
                                  .headers = message.HeaderLines(),
                                  .followRedirects = followRedirects};
        if (open == nullptr) {
            error = ENOSYS;
        } else {
            open(request, transfer);
        }
    } catch (const std::bad_alloc&) {
    }
    return transfer;
}

bool is(CFStringRef name, CFStringRef property) {
    return CFEqual(name, property);
}

}  // namespace

std::shared_ptr<HttpTransfer> HttpDriver::Transfer() const {
    const std::lock_guard guard(lock_);
    return transfer_;
}

bool HttpDriver::IsOpening() const {
    const std::lock_guard guard(lock_);
    return phase_ == Phase::Opening;
}

void HttpDriver::Open() {
    const std::lock_guard guard(lock_);
    phase_ = Phase::Opening;
}

void HttpDriver::Close() {
    std::shared_ptr<HttpTransfer> transfer;
    {
        const std::lock_guard guard(lock_);
        phase_ = Phase::Closed;
        transfer = transfer_;
    }
    if (transfer) {
        transfer->Cancel();
    }
}

void HttpDriver::Begin() {
    const std::lock_guard oneAtATime(beginLock_);
    if (!IsOpening()) {
        return;
    }
    int error = 0;
    auto transfer = begin(message_, followRedirects_, error);
    // A transfer that comes too late is given back after the lock is free.
    const std::lock_guard guard(lock_);
    if (phase_ != Phase::Opening) {
        return;
    }
    phase_ = Phase::Begun;
    if (!transfer) {
        state_.failed = true;
        state_.error = {kCFStreamErrorDomainPOSIX, error};
    }
    transfer_ = std::move(transfer);
}

void HttpDriver::Prepare(PollSet& set) {
    if (IsOpening()) {
        set.DoNotWait();
    } else if (const auto transfer = Transfer()) {
        transfer->Prepare(set);
    }
}

void HttpDriver::Step(std::span<const pollfd> polled) {
    if (IsOpening()) {
        Begin();
    }
    if (const auto transfer = Transfer()) {
        transfer->Step(polled);
    }
}

DriverState HttpDriver::State() const {
    const std::lock_guard guard(lock_);
    return transfer_ ? transfer_->State() : state_;
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
    const std::lock_guard guard(lock_);
    followRedirects_ = CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    return true;
}

CFTypeRef HttpDriver::CopyProperty(CFStringRef name) const {
    if (is(name, kCFStreamPropertyHTTPShouldAutoredirect)) {
        const std::lock_guard guard(lock_);
        return CFRetain(followRedirects_ ? kCFBooleanTrue : kCFBooleanFalse);
    }
    const auto transfer = Transfer();
    const int status = transfer ? transfer->Status() : 0;
    return status != 0 && is(name, kCFStreamPropertyHTTPResponseHeader)
               ? ToRef<CFTypeRef>(new HttpMessage(status))
               : nullptr;
}

}  // namespace tvplatform
