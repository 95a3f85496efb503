#include "mac/MacThreadedWebReader.h"

#include "mac/MacThread.h"
#include "mac/MacThreadedWebReaderManager.h"
#include "text/CFRef.h"

#include <optional>

namespace {

constexpr CFOptionFlags cEvents =
    kCFStreamEventHasBytesAvailable | kCFStreamEventErrorOccurred | kCFStreamEventEndEncountered;

Tova::CFRef<CFReadStreamRef> makeStream(CFStringRef text, CFStringRef userAgent) {
    const Tova::CFRef<CFURLRef> url(MacThreadedWebReader::CreateRequestUrl(text));
    const Tova::CFRef<CFHTTPMessageRef> request(
        url ? CFHTTPMessageCreateRequest(nullptr, CFSTR("GET"), url.Get(), kCFHTTPVersion1_1)
            : nullptr);
    if (!request) {
        return {};
    }
    if (userAgent != nullptr) {
        CFHTTPMessageSetHeaderFieldValue(request.Get(), CFSTR("User-Agent"), userAgent);
    }
    Tova::CFRef<CFReadStreamRef> stream(CFReadStreamCreateForHTTPRequest(nullptr, request.Get()));
    if (stream && !CFReadStreamSetProperty(stream.Get(), kCFStreamPropertyHTTPShouldAutoredirect,
                                           kCFBooleanTrue)) {
        stream.Reset(nullptr);
    }
    return stream;
}

}  // namespace

// Gives the claim on a read up again unless a worker takes it over.
class MacThreadedWebReader::Claim {
public:
    explicit Claim(MacThreadedWebReader& reader) : reader_(&reader) {}
    ~Claim() {
        if (reader_ != nullptr) {
            reader_->GiveUpClaim();
        }
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    void PassToWorker() { reader_ = nullptr; }

private:
    MacThreadedWebReader* reader_;
};

std::atomic<int32_t> MacThreadedWebReader::sSerialNumber{1};

MacThreadedWebReader* MacThreadedWebReader::Create() {
    auto* reader = new MacThreadedWebReader;
    try {
        MacThreadedWebReaderManager::sSingleton.Add(reader);
    } catch (...) {
        delete reader;
        throw;
    }
    return reader;
}

MacThreadedWebReader::MacThreadedWebReader() : serialNumber_(sSerialNumber++) {
    threadAttributesValid_ =
        pthread_attr_init(&threadAttributes_) == 0 &&
        pthread_attr_setdetachstate(&threadAttributes_, PTHREAD_CREATE_DETACHED) == 0;
}

MacThreadedWebReader::~MacThreadedWebReader() {
    pthread_attr_destroy(&threadAttributes_);
    if (wakeSource_ != nullptr) {
        CFRelease(wakeSource_);
    }
    // A stream that failed to open is still here. AbortRead releases every other one.
    if (stream_ != nullptr) {
        CFRelease(stream_);
    }
}

void MacThreadedWebReader::Retain() {
    MacThreadedWebReaderManager::sSingleton.Retain(this);
}

int MacThreadedWebReader::Release() {
    return MacThreadedWebReaderManager::sSingleton.Release(this);
}

int MacThreadedWebReader::GetRefCount() const {
    return MacThreadedWebReaderManager::sSingleton.GetRefCount(this);
}

int MacThreadedWebReader::GetState() const {
    const MacThreadLockHolder hold(streamLock_);
    return stream_ != nullptr ? static_cast<int>(CFReadStreamGetStatus(stream_)) : state_.load();
}

CFURLRef MacThreadedWebReader::CreateRequestUrl(CFStringRef url) {
    const Tova::CFRef<CFStringRef> decoded(CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
        nullptr, url, CFSTR(""), CFStringGetSystemEncoding()));
    if (!decoded) {
        return nullptr;
    }
    const Tova::CFRef<CFStringRef> escaped(CFURLCreateStringByAddingPercentEscapes(
        nullptr, decoded.Get(), nullptr, nullptr, kCFStringEncodingUTF8));
    return escaped ? CFURLCreateWithString(nullptr, escaped.Get(), nullptr) : nullptr;
}

int MacThreadedWebReader::StartRead(CFStringRef url, CFStringRef userAgent, Callback callback,
                                    void* context) {
    if (url == nullptr) {
        return -2;
    }
    const User user(*this);
    if (!ClaimRead()) {
        return -1;
    }
    Claim claim(*this);
    if (wakeSource_ == nullptr) {
        CFRunLoopSourceContext sourceContext{};
        sourceContext.info = this;
        sourceContext.perform = TerminateThreadPerform;
        wakeSource_ = CFRunLoopSourceCreate(nullptr, 0, &sourceContext);
    }
    callback_ = callback;
    context_ = context;
    const Tova::CFRef<CFReadStreamRef> stream = makeStream(url, userAgent);
    CFStreamClientContext clientContext{};
    clientContext.info = this;
    const bool good = wakeSource_ != nullptr && stream &&
                      CFReadStreamSetClient(stream.Get(), cEvents, ReadStreamProc, &clientContext);
    SetStream(good ? stream.Get() : nullptr);
    if (!good) {
        return -3;
    }
    claim.PassToWorker();
    return StartWorker(reads_);
}

// Progress changes only after the read is known to be allowed.
bool MacThreadedWebReader::ClaimRead() {
    bool claimed = false;
    progress_.Update([&](int&) { claimed = !busy_.exchange(true); });
    if (!claimed) {
        return false;
    }
    const int state = GetState();
    if (state != kCFStreamStatusNotOpen && state != kCFStreamStatusClosed &&
        state != kCFStreamStatusError) {
        GiveUpClaim();
        return false;
    }
    progress_.Update([&](int& progress) {
        ++reads_;
        progress = cStarting;
    });
    return true;
}

void MacThreadedWebReader::GiveUpClaim() {
    progress_.Update([&](int&) { busy_ = false; });
}

// Deliberate: if no thread can be made, the wait for the worker never ends. Callers know it so.
// The lock keeps the worker from delivering an event before the caller has seen that it started.
// The abort of that event would find the handshake half done.
int MacThreadedWebReader::StartWorker(ReadNumber read) {
    const MacThreadLockHolder hold(handshakeLock_);
    auto& manager = MacThreadedWebReaderManager::sSingleton;
    manager.ThreadWillStart();
    const int result =
        MacThread::CreateWithoutSignals(&thread_, &threadAttributes_, ThreadProc, this);
    std::optional<MacThread::CancellationOff> untilItHasAnswered;
    if (result == 0) {
        untilItHasAnswered.emplace();
    } else {
        manager.ThreadWillNotStart();
    }
    progress_.WaitUntil(
        [&](int progress) { return progress == cWorkerStarted || !IsClaimedBy(read); });
    const bool opened = state_ == kCFStreamStatusOpen;
    progress_.Update([&](int& progress) {
        if (reads_ == read) {
            progress = opened ? cReading : cIdle;
        }
    });
    if (!opened) {
        // The worker is about to end. The reader is free for the next read when this returns.
        progress_.WaitUntil([&](int) { return !IsClaimedBy(read); });
    }
    return result;
}

void MacThreadedWebReader::SetStream(CFReadStreamRef stream) {
    if (stream != nullptr) {
        CFRetain(stream);
    }
    Tova::CFRef<CFReadStreamRef> old;
    const MacThreadLockHolder hold(streamLock_);
    old.Reset(stream_);
    stream_ = stream;
}

// Returns a reference on the stream of that read, which the caller owns, or null if the stream is
// gone.
CFReadStreamRef MacThreadedWebReader::CopyStream(ReadNumber read) const {
    const MacThreadLockHolder hold(streamLock_);
    if (stream_ == nullptr || reads_ != read) {
        return nullptr;
    }
    CFRetain(stream_);
    return stream_;
}
