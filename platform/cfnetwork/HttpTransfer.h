// What lies between the platform layer and its HTTP module, which is opened on the first request.
// The two are built and installed together; the number in the entry points' names changes with
// anything in this header.
#pragma once

#include "corefoundation/runloop/ReadStreamState.h"
#include "corefoundation/runloop/RunLoopPollSet.h"

#include <chrono>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tvplatform {

struct HttpRequest {
    std::string url;
    // "Name: value", without line ends or other control characters.
    std::vector<std::string> headers;
    bool followRedirects = false;
    int maxRedirects = 20;
    std::chrono::milliseconds connectLimit{10'000};
    // The longest time without a byte from the peer.
    std::chrono::milliseconds idleLimit{60'000};
    // Bytes of body that may wait unread before the transfer pauses, up to one network read more.
    size_t maxUnread = size_t{256} * 1024;
    // Bytes of all headers of all answers together; more is an error.
    size_t maxHeader = size_t{256} * 1024;
};

// One GET. Any thread, several at once; nothing waits for the peer.
class HttpTransfer {
public:
    virtual ~HttpTransfer() = default;

    virtual void Prepare(PollSet& set) = 0;
    virtual void Step(std::span<const pollfd> polled) = 0;
    virtual DriverState State() const = 0;
    virtual size_t Read(unsigned char* buffer, size_t size) = 0;
    // Ends the transfer; only what has arrived can still be read.
    virtual void Cancel() = 0;

    // The header of the answer as it arrived, status line first, and the address that gave it;
    // empty until State says opened.
    virtual std::string Header() const = 0;
    virtual std::string FinalUrl() const = 0;
};

// Initialises the HTTP library, once. False when that fails.
using HttpStartFunction = bool (*)();
// Begins a transfer. False, and no change, when it cannot be begun; always once the process exits.
using HttpOpenFunction = bool (*)(const HttpRequest& request,
                                  std::shared_ptr<HttpTransfer>& transfer);

inline constexpr char cHttpModule[] = "libtvplatform-http.so.1";
inline constexpr char cHttpStartFunction[] = "tvplatform_http_start_1";
inline constexpr char cHttpOpenFunction[] = "tvplatform_http_open_1";

}  // namespace tvplatform
