// Brings the bytes of an HTTP stream, through the HTTP module.
#pragma once

#include "cfnetwork/HttpMessage.h"
#include "cfnetwork/HttpTransfer.h"
#include "corefoundation/runloop/ReadStream.h"

#include <atomic>

namespace tvplatform {

class HttpDriver final : public ReadStreamDriver {
public:
    // Loads the HTTP module, if the request can be sent at all. It does so here, on the program's
    // own thread. A worker that loaded the module could wait for that thread's dlopen or exit.
    explicit HttpDriver(const HttpMessage& request);

    bool Open(CFStreamError& error) override;
    void Close() override;
    void Prepare(PollSet& set) override;
    void Step(std::span<const pollfd> polled) override;
    DriverState State() const override;
    size_t Read(UInt8* buffer, size_t size) override;
    bool SetProperty(CFStringRef name, CFTypeRef value) override;
    CFTypeRef CopyProperty(CFStringRef name) const override;

private:
    std::shared_ptr<HttpTransfer> Transfer() const;

    const HttpMessage message_;
    const bool canBeSent_;
    const HttpOpenFunction open_;
    std::atomic<bool> followRedirects_{false};
    mutable std::mutex lock_;
    std::shared_ptr<HttpTransfer> transfer_;
};

}  // namespace tvplatform
