#include "tests/mac/ReaderSession.h"

namespace tvtest {

ReaderSession::~ReaderSession() {
    reader_->AbortRead();
    reader_->Release();
}

int ReaderSession::Start(const std::string& url, const char* userAgent) {
    {
        const std::lock_guard guard(lock_);
        events_ = 0;
        hasData_ = false;
        end_ = nullptr;
        body_.clear();
        status_ = 0;
        error_ = {0, 0};
    }
    const auto agent = MakeText(userAgent != nullptr ? userAgent : "");
    return reader_->StartRead(MakeText(url).Get(), userAgent != nullptr ? agent.Get() : nullptr,
                              OnEvent, this);
}

bool ReaderSession::OnEvent(CFReadStreamRef stream, unsigned long event, void* session) {
    auto* self = static_cast<ReaderSession*>(session);
    const bool isData = event == kCFStreamEventHasBytesAvailable;
    const Tova::CFRef<CFTypeRef> header(
        CFReadStreamCopyProperty(stream, kCFStreamPropertyHTTPResponseHeader));
    if (header) {
        self->status_ = static_cast<int>(CFHTTPMessageGetResponseStatusCode(
            static_cast<CFHTTPMessageRef>(const_cast<void*>(header.Get()))));
    }
    bool goOn = true;
    if (self->step_) {
        goOn = self->step_(stream);
    } else if (isData) {
        self->ReadSome(stream);
    }
    const std::lock_guard guard(self->lock_);
    ++self->events_;
    self->hasData_ |= isData;
    if (!isData) {
        self->error_ = CFReadStreamGetError(stream);
        self->end_ = event == kCFStreamEventEndEncountered ? "end" : "error";
    }
    self->changed_.notify_all();
    return goOn;
}

CFIndex ReaderSession::ReadSome(CFReadStreamRef stream) {
    UInt8 bytes[65536];
    const CFIndex count = CFReadStreamRead(stream, bytes, sizeof bytes);
    if (count > 0) {
        body_.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(count));
    }
    return count;
}

void ReaderSession::WaitForEvents(int count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return events_ >= count; });
}

std::string ReaderSession::Finish() {
    {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return end_ != nullptr; });
    }
    reader_->AbortRead();
    return std::string(hasData_ ? "data," : "") + end_;
}

std::string ReaderSession::Fetch(const std::string& url, const char* userAgent) {
    const int result = Start(url, userAgent);
    if (result != 0) {
        return "refused " + std::to_string(result);
    }
    return reader_->GetProgress() == 0 ? "not opened" : Finish();
}

}  // namespace tvtest
