// The interface between the platform layer and its HTTP module, which the first request opens. The
// two are built and installed together. The number in the names of the entry points changes with
// this header.
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

// One GET. Any thread may call any operation, also several at once. No operation waits for the
// peer.
class HttpTransfer {
public:
    virtual ~HttpTransfer() = default;

    virtual void Prepare(PollSet& set) = 0;
    virtual void Step(std::span<const pollfd> polled) = 0;
    virtual DriverState State() const = 0;
    virtual size_t Read(unsigned char* buffer, size_t size) = 0;
    // Ends the transfer. Bytes that have arrived can still be read.
    virtual void Cancel() = 0;

    // Returns the status of the answer, and 0 before State says opened.
    virtual int Status() const = 0;
};

// Initialises the HTTP library, once. Returns false if that fails.
using HttpStartFunction = bool (*)();
// Begins a transfer. Returns false, and leaves `transfer`, if it cannot begin. It cannot once the
// process exits.
using HttpOpenFunction = bool (*)(const HttpRequest& request,
                                  std::shared_ptr<HttpTransfer>& transfer);
// Takes the module through a fork. Before the fork it waits until no thread is inside the HTTP
// library. The parent goes on, and the child forgets the transfers, which are the parent's.
enum class HttpFork { Before, InParent, InChild };
using HttpForkFunction = void (*)(HttpFork stage);

// The module, from the folder of the platform library.
inline constexpr char cHttpModule[] = "tvplatform/libtvplatform-http.so.1";
inline constexpr char cHttpStartFunction[] = "tvplatform_http_start_3";
inline constexpr char cHttpOpenFunction[] = "tvplatform_http_open_3";
inline constexpr char cHttpForkFunction[] = "tvplatform_http_fork_3";

}  // namespace tvplatform
