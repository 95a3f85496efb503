#include "corefoundation/runloop/ReadStream.h"

#include <mutex>
#include <utility>

namespace tvplatform {

// The stream and a running callback share it, so that a new client does not take the context away
// from that callback.
class ReadStream::Client {
public:
    Client(CFOptionFlags wanted, CFReadStreamClientCallBack function,
           const CFStreamClientContext& context)
        : events(wanted), callback(function),
          info(context.retain != nullptr ? context.retain(context.info) : context.info),
          release_(context.release) {}
    ~Client() {
        if (release_ != nullptr) {
            release_(info);
        }
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    const CFOptionFlags events;
    const CFReadStreamClientCallBack callback;
    void* const info;

private:
    void (*const release_)(void*);
};

ReadStream::ReadStream(std::unique_ptr<ReadStreamDriver> driver)
    : RunLoopItem(cType, 0), driver_(std::move(driver)) {}

ReadStream::~ReadStream() {
    driver_->Close();
}

bool ReadStream::Open() {
    {
        const std::lock_guard guard(lock_);
        if (phase_ != Phase::NotOpen) {
            return false;
        }
        phase_ = Phase::Running;
        driver_->Open();
    }
    WakeLoops();
    return true;
}

void ReadStream::Close() {
    Ref<RunLoop*> loop;
    std::shared_ptr<const Client> client;
    {
        const std::lock_guard guard(lock_);
        phase_ = Phase::Closed;
        client = std::exchange(client_, nullptr);
        loop = std::exchange(loop_, {});
        if (readerLoop_) {
            readerLoop_->WakeUp();
        }
    }
    driver_->Close();
    if (loop) {
        loop->DetachFromAllModes(*this);
        loop->WakeUp();
    }
}

CFStreamStatus ReadStream::StatusLocked() const {
    switch (phase_) {
    case Phase::NotOpen:
        return kCFStreamStatusNotOpen;
    case Phase::Closed:
        return kCFStreamStatusClosed;
    case Phase::Running:
        break;
    }
    const DriverState state = driver_->State();
    if (!state.hasBytes && (state.failed || state.ended)) {
        return state.failed ? kCFStreamStatusError : kCFStreamStatusAtEnd;
    }
    return state.opened ? kCFStreamStatusOpen : kCFStreamStatusOpening;
}

CFStreamStatus ReadStream::Status() const {
    const std::lock_guard guard(lock_);
    return StatusLocked();
}

CFStreamError ReadStream::Error() const {
    const std::lock_guard guard(lock_);
    return StatusLocked() == kCFStreamStatusError ? driver_->State().error : CFStreamError{0, 0};
}

CFIndex ReadStream::Read(UInt8* buffer, CFIndex size) {
    if (buffer == nullptr || size <= 0) {
        return -1;
    }
    do {
        std::unique_lock guard(lock_);
        if (phase_ != Phase::Running) {
            return -1;
        }
        // The state is asked for before the bytes: what arrives in between must not count as read.
        const DriverState state = driver_->State();
        const size_t count = driver_->Read(buffer, static_cast<size_t>(size));
        if (count > 0) {
            delivered_ &= ~static_cast<CFOptionFlags>(kCFStreamEventHasBytesAvailable);
            guard.unlock();
            WakeLoops();
            return static_cast<CFIndex>(count);
        }
        if (state.failed || state.ended) {
            guard.unlock();
            // It may have something to give back, and no other step may follow.
            driver_->Step({});
            return state.failed ? -1 : 0;
        }
    } while (WaitForBytes());
    return -1;
}

// Waits once for the driver and lets it make one step, on a thread that reads without a loop, or
// faster than its loop brings bytes. Close wakes the thread's own loop.
bool ReadStream::WaitForBytes() {
    const auto loop = Ref<RunLoop*>::Share(RunLoop::Current());
    PollSet set(Clock::time_point::max());
    {
        const std::lock_guard guard(lock_);
        if (phase_ != Phase::Running) {
            return false;
        }
        readerLoop_ = loop;
    }
    loop->PrepareWakeUp(set);
    const size_t first = set.Descriptors().size();
    driver_->Prepare(set);
    set.Wait();
    loop->ClearWakeUp();
    driver_->Step(std::span<const pollfd>(set.Descriptors()).subspan(first));
    {
        const std::lock_guard guard(lock_);
        readerLoop_ = {};
    }
    WakeLoops();
    return true;
}

bool ReadStream::SetProperty(CFStringRef name, CFTypeRef value) {
    const std::lock_guard guard(lock_);
    return phase_ == Phase::NotOpen && driver_->SetProperty(name, value);
}

CFTypeRef ReadStream::CopyProperty(CFStringRef name) const {
    return driver_->CopyProperty(name);
}

void ReadStream::SetClient(CFOptionFlags events, CFReadStreamClientCallBack callback,
                           const CFStreamClientContext* context) {
    std::shared_ptr<const Client> client;
    if (events != 0 && callback != nullptr && context != nullptr) {
        client = std::make_shared<const Client>(events, callback, *context);
    }
    {
        const std::lock_guard guard(lock_);
        // The old client is let go outside the lock: its release function may call the stream.
        client_.swap(client);
    }
    WakeLoops();
}

void ReadStream::Schedule(RunLoop& loop, CFStringRef mode) {
    Ref<RunLoop*> old;
    {
        const std::lock_guard guard(lock_);
        if (phase_ == Phase::Closed) {
            return;
        }
        if (loop_.Get() != &loop) {
            old = std::exchange(loop_, Ref<RunLoop*>::Share(&loop));
        }
    }
    if (old) {
        old->DetachFromAllModes(*this);
    }
    loop.Attach(*this, mode);
    loop.WakeUp();
    const std::lock_guard guard(lock_);
    if (phase_ == Phase::Closed) {
        // It was closed meanwhile. The caller's reference keeps the stream alive here.
        loop.DetachFromAllModes(*this);
    }
}

void ReadStream::Unschedule(RunLoop& loop, CFStringRef mode) {
    loop.Detach(*this, mode);
    loop.WakeUp();
}

void ReadStream::WakeLoops() {
    const std::lock_guard guard(lock_);
    if (loop_ && !loop_->IsCurrent()) {
        loop_->WakeUp();
    }
}

// Returns the next event that the client has not had, or 0. The caller holds the lock.
CFOptionFlags ReadStream::DueEvent() const {
    if (phase_ != Phase::Running || client_ == nullptr) {
        return 0;
    }
    const DriverState state = driver_->State();
    const CFOptionFlags open = client_->events & ~delivered_;
    if (state.hasBytes) {
        return open & kCFStreamEventHasBytesAvailable;
    }
    if (state.failed) {
        return open & kCFStreamEventErrorOccurred;
    }
    return state.ended ? open & kCFStreamEventEndEncountered : 0;
}

bool ReadStream::IsDue() const {
    const std::lock_guard guard(lock_);
    return DueEvent() != 0;
}

void ReadStream::Prepare(PollSet& set) {
    if (IsDue()) {
        set.DoNotWait();
    }
    driver_->Prepare(set);
}

// An event that is due does not wait for a step.
bool ReadStream::Fire(std::span<const pollfd> polled) {
    if (!IsDue()) {
        driver_->Step(polled);
    }
    std::shared_ptr<const Client> client;
    CFOptionFlags event = 0;
    {
        const std::lock_guard guard(lock_);
        event = DueEvent();
        if (event == 0) {
            return false;
        }
        delivered_ |= event;
        client = client_;
    }
    client->callback(ToRef<CFReadStreamRef>(this), event, client->info);
    return true;
}

}  // namespace tvplatform
