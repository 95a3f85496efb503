// Brings the bytes of one read stream.
#pragma once

#include "corefoundation/runloop/ReadStreamState.h"
#include "corefoundation/runloop/RunLoopPollSet.h"

#include <span>

namespace tvplatform {

// Any thread may call any operation, also several at once. No operation calls back or waits for the
// peer.
class ReadStreamDriver {
public:
    virtual ~ReadStreamDriver() = default;

    // Lets the next Step begin. It is called at most once and does no work that could take time.
    virtual void Open() = 0;
    // Gives back everything that a peer could notice. The stream reads nothing afterwards.
    virtual void Close() = 0;

    // Adds what to wait for before Step can go on.
    virtual void Prepare(PollSet& set) = 0;
    virtual void Step(std::span<const pollfd> polled) = 0;
    virtual DriverState State() const = 0;
    // Takes at most `size` of the bytes that have arrived. The room that this makes is noticed by
    // the next Prepare.
    virtual size_t Read(UInt8* buffer, size_t size) = 0;

    virtual bool SetProperty(CFStringRef name, CFTypeRef value) = 0;
    virtual CFTypeRef CopyProperty(CFStringRef name) const = 0;
};

}  // namespace tvplatform
