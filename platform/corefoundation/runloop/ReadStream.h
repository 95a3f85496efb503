// A read stream: its states, events and client, over a driver that brings the bytes. Any thread may
// call anything.
#pragma once

#include "corefoundation/runloop/ReadStreamDriver.h"
#include "corefoundation/runloop/RunLoop.h"

#include <CoreFoundation/CFStream.h>

#include <memory>

namespace tvplatform {

class ReadStream final : public RunLoopItem {
public:
    static constexpr TypeId cType = TypeId::ReadStream;

    explicit ReadStream(std::unique_ptr<ReadStreamDriver> driver);
    ~ReadStream() override;

    bool Open();
    void Close();
    CFStreamStatus Status() const;
    CFStreamError Error() const;
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
    enum class Phase { NotOpen, Running, Closed };
    class Client;

    CFStreamStatus StatusLocked() const;
    CFOptionFlags DueEvent() const;
    bool IsDue() const;
    void WakeLoops();
    bool WaitForBytes();

    mutable std::mutex lock_;
    const std::unique_ptr<ReadStreamDriver> driver_;
    Phase phase_ = Phase::NotOpen;
    std::shared_ptr<const Client> client_;
    // The events that were delivered. "Has bytes available" leaves with the next read.
    CFOptionFlags delivered_ = 0;
    Ref<RunLoop*> loop_;
    // The loop of the thread that waits in Read.
    Ref<RunLoop*> readerLoop_;
};

}  // namespace tvplatform
