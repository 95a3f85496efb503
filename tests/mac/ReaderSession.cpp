#include "tests/mac/ReaderSession.h"

namespace tvtest {

ReaderSession::~ReaderSession() {
    reader_->AbortRead();
    reader_->Release();
}

int ReaderSession::Start(const std::string& url, const char* userAgent) {
    {
        const std::lock_guard guard(lock_);
        events_.clear();
        over_ = false;
        body_.clear();
        bodySize_ = 0;
        status_ = 0;
        error_ = {0, 0};
    }
    const PlatformString address(url);
    const PlatformString agent(userAgent != nullptr ? userAgent : "");
    return reader_->StartRead(address.Get(), userAgent != nullptr ? agent.Get() : nullptr, OnEvent,
                              this);
}

bool ReaderSession::OnEvent(CFReadStreamRef stream, unsigned long event, void* session) {
    auto* self = static_cast<ReaderSession*>(session);
    if (auto header = static_cast<CFHTTPMessageRef>(const_cast<void*>(
            CFReadStreamCopyProperty(stream, kCFStreamPropertyHTTPResponseHeader)))) {
        self->status_ = static_cast<int>(CFHTTPMessageGetResponseStatusCode(header));
        CFRelease(header);
    }
    if (event == kCFStreamEventErrorOccurred) {
        self->error_ = CFReadStreamGetError(stream);
    }
    bool goOn = true;
    if (self->step_) {
        goOn = self->step_(stream, event);
    } else if (event == kCFStreamEventHasBytesAvailable) {
        self->ReadSome(stream);
    }
    const std::lock_guard guard(self->lock_);
    self->events_.push_back(event);
    self->over_ |= event != kCFStreamEventHasBytesAvailable;
    self->changed_.notify_all();
    return goOn;
}

CFIndex ReaderSession::ReadSome(CFReadStreamRef stream, size_t size) {
    std::string bytes(size, '\0');
    const CFIndex count = CFReadStreamRead(stream, reinterpret_cast<UInt8*>(bytes.data()),
                                           static_cast<CFIndex>(size));
    if (count > 0) {
        bodySize_ += static_cast<size_t>(count);
        if (!countOnly_) {
            body_.append(bytes, 0, static_cast<size_t>(count));
        }
    }
    return count;
}

void ReaderSession::WaitForEvents(size_t count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return events_.size() >= count; });
}

std::string ReaderSession::Finish() {
    {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return over_; });
    }
    reader_->AbortRead();
    std::string seen;
    bool data = false;
    for (const unsigned long event : events_) {
        if (event == kCFStreamEventHasBytesAvailable) {
            seen += data ? "" : "data,";
            data = true;
        } else {
            seen += event == kCFStreamEventEndEncountered ? "end" : "error";
        }
    }
    return seen;
}

std::string ReaderSession::Fetch(const std::string& url, const char* userAgent) {
    const int result = Start(url, userAgent);
    if (result != 0) {
        return "refused " + std::to_string(result);
    }
    return reader_->GetProgress() == 0 ? "not opened" : Finish();
}

}  // namespace tvtest
