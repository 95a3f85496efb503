// Brings the bytes of an HTTP stream, through the HTTP module.
#pragma once

#include "cfnetwork/HttpMessage.h"
#include "cfnetwork/HttpTransfer.h"
#include "corefoundation/runloop/ReadStream.h"

namespace tvplatform {

// The first Step after Open loads the HTTP module and begins the transfer. So the thread that runs
// the stream does that work, and the one that makes and opens the stream does not wait for it.
class HttpDriver final : public ReadStreamDriver {
public:
    explicit HttpDriver(const HttpMessage& request) : message_(request) {}

    void Open() override;
    void Close() override;
    void Prepare(PollSet& set) override;
    void Step(std::span<const pollfd> polled) override;
    DriverState State() const override;
    size_t Read(UInt8* buffer, size_t size) override;
    bool SetProperty(CFStringRef name, CFTypeRef value) override;
    CFTypeRef CopyProperty(CFStringRef name) const override;

private:
    enum class Phase { NotOpen, Opening, Begun, Closed };

    std::shared_ptr<HttpTransfer> Transfer() const;
    bool IsOpening() const;
    void Begin();

    const HttpMessage message_;
    // Held by the thread that begins. Others that want to go on wait for it.
    std::mutex beginLock_;
    // Guards what follows.
    mutable std::mutex lock_;
    Phase phase_ = Phase::NotOpen;
    bool followRedirects_ = false;
    std::shared_ptr<HttpTransfer> transfer_;
    // The state of a stream that has no transfer.
    DriverState state_;
};

}  // namespace tvplatform
