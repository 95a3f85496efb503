// One connection that the endpoint has accepted, plain or TLS. Whatever waits here gives up when
// the endpoint stops, when the other side is gone, and after cPatience. One thread uses it.
#pragma once

#include <openssl/ssl.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace tvtool {

// Owns a file descriptor.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor();
    int Get() const { return fd_; }

private:
    int fd_;
};

class Connection {
public:
    static constexpr std::chrono::seconds cPatience{10};
    // Bytes of the request line and the header, the empty line included. The HTTP library's own
    // limit for one line is no lower.
    static constexpr std::size_t cMaxHead = 8 << 10;

    // `socket` does not block. `stop` becomes readable when the endpoint stops; it is borrowed, and
    // so is `tls`, which is null for a plain connection.
    Connection(FileDescriptor socket, int stop, SSL_CTX* tls);

    enum class Head { Complete, TooLarge, None };
    // Waits for the next head, drops what was left of the one before.
    Head ReadHead();
    // What ReadHead has read, from the request line up to the empty line.
    std::string_view HeadBytes() const { return {unread_.data(), headSize_}; }

    // Reads bytes from the start of the head on, since ReadHead leaves them there. Returns how
    // many, 0 at the end, and -1 on a failure.
    std::ptrdiff_t Read(char* bytes, std::size_t size);
    // Returns false if not everything could be written.
    bool Write(std::string_view bytes);

    // Waits until the other side closes the connection, as long as that takes.
    void WaitForPeer();
    // Returns false if the endpoint stops or the other side is gone before `time` has passed.
    bool Pause(std::chrono::milliseconds time);
    // Nothing more will be written; waits for the other side to have read it all.
    void Finish();
    // Has the destructor close the connection with a reset (RST).
    void Reset();

private:
    using Clock = std::chrono::steady_clock;
    struct FreeTls {
        void operator()(SSL* tls) const { SSL_free(tls); }
    };

    // These make one attempt, as read() and write() do. `wanted` becomes the event to wait for
    // before the next one, and 0 if this one counts.
    std::ptrdiff_t TryRead(char* bytes, std::size_t size, short& wanted);
    std::ptrdiff_t TryWrite(std::string_view bytes, short& wanted);
    std::ptrdiff_t TlsResult(int result, short& wanted);
    std::ptrdiff_t ReadSocket(char* bytes, std::size_t size);
    bool Wait(short events, Clock::time_point deadline);

    FileDescriptor socket_;
    const int stop_;
    const std::unique_ptr<SSL, FreeTls> tls_;
    Clock::time_point deadline_;
    std::string unread_;
    std::size_t headSize_ = 0;
    std::size_t taken_ = 0;  // of unread_
};

}  // namespace tvtool
