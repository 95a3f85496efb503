#include "tests/mac/ReaderSession.h"

namespace tvtest {

ReaderSession::~ReaderSession() {
    reader_->AbortRead();
    reader_->Release();
}

int ReaderSession::Start(const std::string& url, const char* userAgent) {
    {
        const std::lock_guard guard(lock_);
        seen_ = {};
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
        self->seen_.status = static_cast<int>(CFHTTPMessageGetResponseStatusCode(
            static_cast<CFHTTPMessageRef>(const_cast<void*>(header.Get()))));
    }
    bool goOn = true;
    if (self->step_) {
        goOn = self->step_(stream);
    } else if (isData) {
        self->ReadSome(stream);
    }
    const std::lock_guard guard(self->lock_);
    ++self->seen_.events;
    self->seen_.hasData |= isData;
    if (!isData) {
        self->seen_.error = CFReadStreamGetError(stream);
        self->seen_.end = event == kCFStreamEventEndEncountered ? "end" : "error";
    }
    self->changed_.notify_all();
    return goOn;
}

CFIndex ReaderSession::ReadSome(CFReadStreamRef stream) {
    UInt8 bytes[65536];
    const CFIndex count = CFReadStreamRead(stream, bytes, sizeof bytes);
    if (count > 0) {
        seen_.body.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(count));
    }
    return count;
}

void ReaderSession::WaitForEvents(int count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return seen_.events >= count; });
}

std::string ReaderSession::Fetch(const std::string& url, const char* userAgent) {
    if (Start(url, userAgent) != 0 || reader_->GetProgress() == 0) {
        return "not started";
    }
    {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return seen_.end != nullptr; });
    }
    reader_->AbortRead();
    return std::string(seen_.hasData ? "data," : "") + seen_.end;
}

}  // namespace tvtest
