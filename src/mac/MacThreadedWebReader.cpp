#include "mac/MacThreadedWebReader.h"

#include "mac/MacThread.h"
#include "mac/MacThreadedWebReaderManager.h"
#include "text/CFRef.h"

#include <new>

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

MacThreadedWebReader::MacThreadedWebReader() : serialNumber_(sSerialNumber++) {}

// AbortRead releases the stream, or the manager does.
MacThreadedWebReader::~MacThreadedWebReader() {
    if (wakeSource_ != nullptr) {
        CFRelease(wakeSource_);
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
    int result = 0;
    {
        const MacThread::CancellationOff untilBegun;
        // The callback may release the reader before this thread wakes up.
        const Reference reference(*this);
        ReadNumber read = 0;
        result = Begin(url, userAgent, callback, context, read);
        if (result == 0) {
            AwaitWorker(read);
        }
    }
    if (result > 0) {
        progress_.WaitTilCondition(cWorkerStarted);
    }
    return result;
}

int MacThreadedWebReader::TryStartRead(CFStringRef url, CFStringRef userAgent, Callback callback,
                                       void* context) {
    const MacThread::CancellationOff untilStarted;
    ReadNumber read = 0;
    return Begin(url, userAgent, callback, context, read);
}

int MacThreadedWebReader::Begin(CFStringRef url, CFStringRef userAgent, Callback callback,
                                void* context, ReadNumber& read) {
    if (url == nullptr) {
        return -2;
    }
    if (!ClaimRead()) {
        return -1;
    }
    Claim claim(*this);
    read = reads_;
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
    return good ? StartWorker(claim) : -3;
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
    if (state_ == kCFStreamStatusOpen) {
        // An exception ended the last read, and its stream has failed.
        state_ = state;
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

// Starts the worker of the read that is claimed. It has a reference from its first moment on, since
// the caller may release the reader before.
int MacThreadedWebReader::StartWorker(Claim& claim) {
    Retain();
    const int result = MacThreadedWebReaderManager::sSingleton.StartThread(ThreadProc, this);
    if (result == 0) {
        claim.PassToWorker();
    } else {
        Release();
    }
    return result;
}

// If the stream did not open, the worker is about to end. The reader is free for the next read when
// this returns.
void MacThreadedWebReader::AwaitWorker(ReadNumber read) {
    progress_.WaitUntil([&](int progress) {
        return !IsClaimedBy(read) || (progress != cStarting && progress != cIdle);
    });
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

// Whatever the parent's threads held is left behind: the locks, which are made anew, and the
// stream. A worker that forks goes on in the child.
void MacThreadedWebReader::LoseThreads() {
    const bool keepsWorker = OfThisWorker() == this;
    new (&streamLock_) MacThreadLock(false);
    new (&runLoopLock_) MacThreadLock(false);
    new (&progress_) MacThreadCondition(keepsWorker ? progress_.State() : cIdle);
    if (!keepsWorker) {
        stream_ = nullptr;
        runLoop_ = nullptr;
        busy_ = false;
    }
}
