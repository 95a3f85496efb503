// A read stream: states, events and the client, over a driver that brings the bytes. Any thread.
#pragma once

#include "corefoundation/runloop/ReadStreamState.h"
#include "corefoundation/runloop/RunLoop.h"

#include <CoreFoundation/CFStream.h>

#include <memory>

namespace tvplatform {

// Brings the bytes of one stream. Every operation may be called on any thread, several at once, and
// calls nobody back. None of them waits for the peer.
class ReadStreamDriver {
public:
    virtual ~ReadStreamDriver() = default;

    // Begins. Called once at most; afterwards `error` tells why it failed.
    virtual bool Open(CFStreamError& error) = 0;
    // Gives everything back that a peer could notice. What had arrived may still be read from the
    // driver; the stream above does not ask any more.
    virtual void Close() = 0;

    // What to wait for before Step can do something.
    virtual void Prepare(PollSet& set) = 0;
    virtual void Step(std::span<const pollfd> polled) = 0;
    virtual DriverState State() const = 0;
    // Takes at most `size` bytes of those that have arrived. What the peer may send then needs a
    // further Prepare to be noticed.
    virtual size_t Read(UInt8* buffer, size_t size) = 0;

    virtual bool SetProperty(CFStringRef name, CFTypeRef value) = 0;
    virtual CFTypeRef CopyProperty(CFStringRef name) const = 0;
};

class ReadStream final : public RunLoopItem {
public:
    static constexpr TypeId cType = TypeId::ReadStream;

    explicit ReadStream(std::unique_ptr<ReadStreamDriver> driver);
    ~ReadStream() override;

    bool Open();
    void Close();
    CFStreamStatus Status() const;
    CFStreamError Error() const;
    bool HasBytesAvailable() const;
    CFIndex Read(UInt8* buffer, CFIndex size);
    bool SetProperty(CFStringRef name, CFTypeRef value);
    CFTypeRef CopyProperty(CFStringRef name) const;

    void SetClient(CFOptionFlags events, CFReadStreamClientCallBack callback,
                   const CFStreamClientContext* context);
    void Schedule(RunLoop& loop, CFStringRef mode);
    void Unschedule(RunLoop& loop, CFStringRef mode);

    void Prepare(PollSet& set) override;
    bool Fire(std::span<const pollfd> polled) override;

private:
    enum class Phase { NotOpen, Running, Failed, Closed };
    class Client;

    CFStreamStatus StatusLocked() const;
    CFOptionFlags DueEvent() const;
    bool IsDue() const;
    void WakeLoops();
    bool WaitForBytes();

    mutable std::mutex lock_;
    const std::unique_ptr<ReadStreamDriver> driver_;
    Phase phase_ = Phase::NotOpen;
    CFStreamError openError_{0, 0};
    std::shared_ptr<const Client> client_;
    // Events that were delivered; "has bytes available" until the next read.
    CFOptionFlags delivered_ = 0;
    Ref<RunLoop*> loop_;
    // The loop of a thread that waits in Read.
    Ref<RunLoop*> readerLoop_;
};

}  // namespace tvplatform
