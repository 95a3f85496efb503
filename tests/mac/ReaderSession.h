// One read of a web reader, for tests: collects what the callback sees and waits for its end.
#pragma once

#include "mac/MacThreadedWebReader.h"
#include "text/CFRef.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace tvtest {

inline Tova::CFRef<CFStringRef> MakeText(const std::string& text) {
    return Tova::CFRef<CFStringRef>(
        CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
}

class ReaderSession {
public:
    // Runs in the callback, which returns its answer. By default the session reads bytes and goes
    // on with every event.
    using Step = std::function<bool(CFReadStreamRef stream)>;
    // What the callback has seen since the last start.
    struct Seen {
        int events = 0;
        bool hasData = false;
        const char* end = nullptr;
        std::string body;
        int status = 0;
        CFStreamError error{0, 0};
    };

    ReaderSession() : reader_(MacThreadedWebReader::Create()) {}
    ~ReaderSession();
    ReaderSession(const ReaderSession&) = delete;
    ReaderSession& operator=(const ReaderSession&) = delete;

    MacThreadedWebReader* Reader() const { return reader_; }
    // Sends no user agent if `userAgent` is null.
    int Start(const std::string& url, const char* userAgent = "Test/1.0");
    // Reads to the end of the data or an error, aborts, and returns what came, for example
    // "data,end", or "not started".
    std::string Fetch(const std::string& url, const char* userAgent = "Test/1.0");
    // Blocks until the callback has seen that many events.
    void WaitForEvents(int count);

    void SetStep(Step step) { step_ = std::move(step); }
    // Reads once into the body.
    CFIndex ReadSome(CFReadStreamRef stream);

    // Complete after Fetch.
    const Seen& Last() const { return seen_; }

private:
    static bool OnEvent(CFReadStreamRef stream, unsigned long event, void* session);

    MacThreadedWebReader* const reader_;
    Step step_;
    std::mutex lock_;
    std::condition_variable changed_;
    Seen seen_;
};

}  // namespace tvtest
