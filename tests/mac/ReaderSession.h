// One read of a web reader, for tests: collects what the callback sees and waits for its end.
#pragma once

#include "mac/MacThreadedWebReader.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tvtest {

// A string of the platform that lives as long as this.
class PlatformString {
public:
    explicit PlatformString(const std::string& text)
        : text_(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8)) {}
    ~PlatformString() { CFRelease(text_); }
    PlatformString(const PlatformString&) = delete;
    PlatformString& operator=(const PlatformString&) = delete;
    CFStringRef Get() const { return text_; }

private:
    CFStringRef text_;
};

class ReaderSession {
public:
    // Runs in the callback, which returns its answer. By default the session reads bytes and goes
    // on with every event.
    using Step = std::function<bool(CFReadStreamRef stream, unsigned long event)>;

    ReaderSession() : reader_(MacThreadedWebReader::Create()) {}
    ~ReaderSession();
    ReaderSession(const ReaderSession&) = delete;
    ReaderSession& operator=(const ReaderSession&) = delete;

    MacThreadedWebReader* Reader() const { return reader_; }
    // Sends no user agent if `userAgent` is null.
    int Start(const std::string& url, const char* userAgent = "Test/1.0");
    // Waits for the end of the data or an error, aborts, and returns what came, for example
    // "data,end".
    std::string Finish();
    // Calls Start and Finish. Returns for example "refused -3" or "not opened" if no event can
    // come.
    std::string Fetch(const std::string& url, const char* userAgent = "Test/1.0");
    // Blocks until the callback has seen that many events.
    void WaitForEvents(size_t count);

    void SetStep(Step step) { step_ = std::move(step); }
    // Reads once, at most `size` bytes, into the body.
    CFIndex ReadSome(CFReadStreamRef stream, size_t size = 65536);

    const std::string& Body() const { return body_; }
    size_t BodySize() const { return bodySize_; }
    int Status() const { return status_; }
    CFStreamError Error() const { return error_; }
    // Keeps the size of the body only.
    void CountOnly() { countOnly_ = true; }

private:
    static bool OnEvent(CFReadStreamRef stream, unsigned long event, void* session);

    MacThreadedWebReader* const reader_;
    Step step_;
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<unsigned long> events_;
    bool over_ = false;
    bool countOnly_ = false;
    std::string body_;
    size_t bodySize_ = 0;
    int status_ = 0;
    CFStreamError error_{0, 0};
};

}  // namespace tvtest
