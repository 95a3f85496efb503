#include "tvtool/endpoint/Connection.h"

#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <new>

namespace tvtool {

namespace {

constexpr std::string_view cEmptyLine = "\r\n\r\n";
// This much is read and dropped from a peer that goes on sending after its answer.
constexpr int cMaxDrainReads = 64;

bool wouldBlock(int error) {
    return error == EAGAIN || error == EINTR;
}

}  // namespace

FileDescriptor::~FileDescriptor() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

Connection::Connection(FileDescriptor socket, int stop, SSL_CTX* tls)
    : socket_(std::move(socket)), stop_(stop), tls_(tls != nullptr ? SSL_new(tls) : nullptr),
      deadline_(Clock::now() + cPatience) {
    if (tls != nullptr) {
        if (!tls_ || SSL_set_fd(tls_.get(), socket_.Get()) != 1) {
            throw std::bad_alloc();
        }
        SSL_set_accept_state(tls_.get());
    }
}

Connection::Head Connection::ReadHead() {
    deadline_ = Clock::now() + cPatience;
    unread_.erase(0, std::max(taken_, headSize_));
    taken_ = 0;
    headSize_ = 0;
    std::size_t end = 0;
    for (std::size_t from = 0; (end = unread_.find(cEmptyLine, from)) == unread_.npos;) {
        if (unread_.size() >= cMaxHead) {
            return Head::TooLarge;
        }
        // The empty line may have come in part.
        from = unread_.size() - std::min(unread_.size(), cEmptyLine.size() - 1);
        std::array<char, 4096> bytes;
        const std::ptrdiff_t count = ReadSocket(bytes.data(), bytes.size());
        if (count <= 0) {
            return Head::None;
        }
        unread_.append(bytes.data(), static_cast<std::size_t>(count));
    }
    headSize_ = end + cEmptyLine.size();
    deadline_ = Clock::now() + cPatience;
    return headSize_ <= cMaxHead ? Head::Complete : Head::TooLarge;
}

std::ptrdiff_t Connection::Read(char* bytes, std::size_t size) {
    const std::size_t count = std::min(size, unread_.size() - taken_);
    if (count == 0) {
        return ReadSocket(bytes, size);
    }
    std::memcpy(bytes, unread_.data() + taken_, count);
    taken_ += count;
    return static_cast<std::ptrdiff_t>(count);
}

std::ptrdiff_t Connection::ReadSocket(char* bytes, std::size_t size) {
    for (;;) {
        short wanted = 0;
        const std::ptrdiff_t count = TryRead(bytes, size, wanted);
        if (wanted == 0) {
            return count;
        }
        if (!Wait(wanted, deadline_)) {
            return -1;
        }
    }
}

bool Connection::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        short wanted = 0;
        const std::ptrdiff_t count = TryWrite(bytes, wanted);
        if (wanted != 0 ? !Wait(wanted, deadline_) : count <= 0) {
            return false;
        }
        bytes.remove_prefix(wanted == 0 ? static_cast<std::size_t>(count) : 0);
    }
    return true;
}

std::ptrdiff_t Connection::TryRead(char* bytes, std::size_t size, short& wanted) {
    if (tls_) {
        ERR_clear_error();
        const int limit = static_cast<int>(std::min<std::size_t>(size, INT_MAX));
        return TlsResult(SSL_read(tls_.get(), bytes, limit), wanted);
    }
    const ssize_t count = recv(socket_.Get(), bytes, size, 0);
    wanted = count < 0 && wouldBlock(errno) ? POLLIN : 0;
    return count;
}

std::ptrdiff_t Connection::TryWrite(std::string_view bytes, short& wanted) {
    if (tls_) {
        ERR_clear_error();
        const int limit = static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX));
        return TlsResult(SSL_write(tls_.get(), bytes.data(), limit), wanted);
    }
    const ssize_t count = send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    wanted = count < 0 && wouldBlock(errno) ? POLLOUT : 0;
    return count;
}

std::ptrdiff_t Connection::TlsResult(int result, short& wanted) {
    wanted = 0;
    if (result > 0) {
        return result;
    }
    switch (SSL_get_error(tls_.get(), result)) {
    case SSL_ERROR_WANT_READ:
        wanted = POLLIN;
        return -1;
    case SSL_ERROR_WANT_WRITE:
        wanted = POLLOUT;
        return -1;
    case SSL_ERROR_ZERO_RETURN:
        return 0;
    default:
        return -1;
    }
}

// Returns true if one of the events, or the end of the connection, is there.
bool Connection::Wait(short events, Clock::time_point deadline) {
    std::array<pollfd, 2> polled = {{{socket_.Get(), events, 0}, {stop_, POLLIN, 0}}};
    for (;;) {
        int limit = -1;
        if (deadline != Clock::time_point::max()) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            limit = static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
        }
        const int count = poll(polled.data(), polled.size(), limit);
        if (count > 0) {
            return polled[1].revents == 0;
        }
        if (count == 0 || errno != EINTR) {
            return false;
        }
    }
}

void Connection::WaitForPeer() {
    std::array<char, 4096> dropped;
    for (;;) {
        short wanted = 0;
        const std::ptrdiff_t count = TryRead(dropped.data(), dropped.size(), wanted);
        if (wanted != 0 ? !Wait(wanted, Clock::time_point::max()) : count <= 0) {
            return;
        }
    }
}

bool Connection::Pause(std::chrono::milliseconds time) {
    const Clock::time_point end = Clock::now() + time;
    deadline_ = end + cPatience;
    // Only the passing of the time ends the wait otherwise.
    return !Wait(POLLRDHUP, end) && Clock::now() >= end;
}

void Connection::Finish() {
    if (tls_) {
        ERR_clear_error();
        SSL_shutdown(tls_.get());
    }
    // Closing with unread bytes would reset the connection, and what was written with it.
    shutdown(socket_.Get(), SHUT_WR);
    deadline_ = Clock::now() + cPatience;
    std::array<char, 4096> dropped;
    for (int i = 0; i < cMaxDrainReads; ++i) {
        const ssize_t count = recv(socket_.Get(), dropped.data(), dropped.size(), 0);
        if (count < 0 && wouldBlock(errno) ? !Wait(POLLIN, deadline_) : count <= 0) {
            return;
        }
    }
}

void Connection::Reset() {
    const linger atOnce{1, 0};
    setsockopt(socket_.Get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

}  // namespace tvtool
