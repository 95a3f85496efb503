#include "tvtool/endpoint/Endpoint.h"

#include "posix/Descriptor.h"
#include "tvtool/base/Tool.h"
#include "tvtool/endpoint/Responses.h"

#include <arpa/inet.h>
#include <gnutls/gnutls.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <new>
#include <string_view>
#include <utility>

namespace tvtool {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view cSlowAnswer =
    "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok";
constexpr char cTooLong[] = "its first line and header are longer than 8192 bytes";

// Returns what is wrong with a handshake, or "" if it is complete.
std::string faultOfHandshake(gnutls_session_t session) {
    if (char* description = gnutls_session_get_desc(session); description != nullptr) {
        gnutls_free(description);
        return "";
    }
    const gnutls_alert_description_t alert = gnutls_alert_get(session);
    const char* name = alert == GNUTLS_A_CLOSE_NOTIFY ? nullptr : gnutls_alert_get_name(alert);
    // Some clients do not encrypt what they say, and the library then drops it.
    return "the TLS handshake failed; " + (name != nullptr
                                               ? "the client says \"" + std::string(name) + "\""
                                               : "the client may not trust the certificate");
}

// Returns why nobody can listen on the address, or ENOMEM if that was not the reason: not every
// release of the library leaves it in errno.
int errorOfBinding(const sockaddr_in& address) {
    const tvposix::Descriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto* general = reinterpret_cast<const sockaddr*>(&address);
    return !probe || bind(probe.Get(), general, sizeof address) != 0 ? errno : ENOMEM;
}

}  // namespace

Endpoint::Endpoint(EndpointOptions options)
    : options_(std::move(options)), stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!stop_) {
        FailErrno(errno, "serve", "cannot wait for events");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(options_.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool isTls = !options_.tls.certificate.empty();
    const MHD_OptionItem tls[] = {
        {isTls ? MHD_OPTION_HTTPS_MEM_CERT : MHD_OPTION_END, 0, options_.tls.certificate.data()},
        {MHD_OPTION_HTTPS_MEM_KEY, 0, options_.tls.key.data()},
        {MHD_OPTION_END, 0, nullptr}};
    daemon_.reset(MHD_start_daemon(
        MHD_USE_EPOLL | MHD_USE_ERROR_LOG | MHD_ALLOW_SUSPEND_RESUME |
            (isTls ? MHD_USE_TLS : MHD_NO_FLAG),
        0, nullptr, nullptr, OnRequest, this, MHD_OPTION_EXTERNAL_LOGGER, OnLog, this,
        MHD_OPTION_NOTIFY_CONNECTION, OnConnection, this, MHD_OPTION_URI_LOG_CALLBACK, OnTarget,
        this, MHD_OPTION_SOCK_ADDR, &address, MHD_OPTION_CONNECTION_LIMIT, cMaxConnections,
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, 4 * cMaxHead, MHD_OPTION_STRICT_FOR_CLIENT, -1,
        MHD_OPTION_ARRAY, tls, MHD_OPTION_END));
    if (!daemon_) {
        const int error = errorOfBinding(address);
        const std::string subject = "port " + std::to_string(options_.port);
        if (error == EADDRINUSE) {
            Fail(Exit::Failed, subject, "is in use; give another one, or none for a free one");
        }
        FailErrno(error, subject, "cannot be listened on");
    }
    address_ = std::string(isTls ? "https" : "http") + "://127.0.0.1:" +
               std::to_string(MHD_get_daemon_info(daemon_.get(), MHD_DAEMON_INFO_BIND_PORT)->port);
}

Endpoint::~Endpoint() {
    for (Peer& peer : peers_) {
        if (peer.state == Peer::State::Held) {
            Release(peer);
        }
    }
    daemon_.reset();
}

void Endpoint::Stop() noexcept {
    const int before = errno;
    // It fails only if the event is there already.
    static_cast<void>(eventfd_write(stop_.Get(), 1));
    errno = before;
}

void Endpoint::Run(EndpointEvents events) {
    events_ = std::move(events);
    while (!hasEnded_ && !error_) {
        Wait();
        MHD_run(daemon_.get());
    }
    if (error_) {
        std::rethrow_exception(error_);
    }
}

// Waits until something happens to a connection, or falls due. The library sees a connection that
// is shut down here as one that has ended.
void Endpoint::Wait() {
    Clock::time_point due = Clock::time_point::max();
    MHD_UNSIGNED_LONG_LONG pending = 0;
    if (MHD_get_timeout(daemon_.get(), &pending) == MHD_YES) {
        due = Clock::now() + std::chrono::milliseconds(std::min(pending, 1000ULL));
    }
    std::array<pollfd, cMaxConnections + 2> polled{};
    for (std::size_t i = 0; i < peers_.size(); ++i) {
        const Peer& peer = peers_[i];
        const bool isHeld = peer.state == Peer::State::Held;
        const bool isWatched = isHeld || (peer.state == Peer::State::Active && !peer.hasLeft);
        const short also = isHeld || peer.firstByte >= 0 ? 0 : POLLIN;
        polled[i] = {isWatched ? peer.socket : -1, static_cast<short>(POLLRDHUP | also), 0};
        due = std::min(due, peers_[i].due);
    }
    pollfd& stop = polled[cMaxConnections];
    stop = {stop_.Get(), POLLIN, 0};
    polled[cMaxConnections + 1] = {
        MHD_get_daemon_info(daemon_.get(), MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd, POLLIN, 0};
    // The library goes on with a resumed connection only when it runs again.
    int limit = std::exchange(hasResumed_, false) ? 0 : -1;
    if (limit != 0 && due != Clock::time_point::max()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now()).count();
        limit = static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
    }
    poll(polled.data(), polled.size(), limit);
    hasEnded_ = stop.revents != 0;
    const Clock::time_point now = Clock::now();
    for (std::size_t i = 0; i < peers_.size(); ++i) {
        Peer& peer = peers_[i];
        if (polled[i].revents != 0 && peer.state == Peer::State::Active) {
            LookAt(peer);
            peer.hasLeft = (polled[i].revents & ~POLLIN) != 0 && !peer.isLate;
        } else if (polled[i].revents != 0) {
            Release(peer);
        } else if (peer.due <= now && peer.state == Peer::State::Held) {
            SendSlowByte(peer);
        } else if (peer.due <= now) {
            peer.isLate = true;
            shutdown(peer.socket, SHUT_RDWR);
            peer.due = Clock::time_point::max();
        }
    }
}

void Endpoint::OnConnection(void* endpoint, MHD_Connection* connection, void** peer,
                            MHD_ConnectionNotificationCode code) {
    Endpoint& self = *static_cast<Endpoint*>(endpoint);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        self.TellEnd(*static_cast<Peer*>(*peer));
        self.hasEnded_ = self.hasEnded_ || *peer == self.last_;
        *static_cast<Peer*>(*peer) = Peer();
        return;
    }
    // The library counts the connections too, so one is free.
    Peer& free = *std::find_if(self.peers_.begin(), self.peers_.end(),
                               [](const Peer& known) { return known.state == Peer::State::Free; });
    free.state = Peer::State::Active;
    free.connection = connection;
    free.owner = &self;
    free.socket =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
    free.due = Clock::now() + cPatience;
    LookAt(free);
    *peer = &free;
}

void* Endpoint::OnTarget(void* endpoint, const char* target, MHD_Connection* connection) {
    try {
        Peer& peer = PeerOf(connection);
        peer.isTold = false;
        peer.method.clear();
        peer.target = target;
        peer.targetEnd = target + peer.target.size();
    } catch (const std::bad_alloc&) {
        static_cast<Endpoint*>(endpoint)->error_ = std::current_exception();
    }
    return nullptr;
}

// Comes for the head of a request, for each piece of its body, which is dropped, and for its end.
MHD_Result Endpoint::OnRequest(void* endpoint, MHD_Connection* connection, const char* /*path*/,
                               const char* method, const char* version, const char* /*body*/,
                               std::size_t* bodySize, void** request) {
    Endpoint& self = *static_cast<Endpoint*>(endpoint);
    Peer& peer = PeerOf(connection);
    if (peer.state == Peer::State::Gone || self.error_) {
        return MHD_NO;
    }
    if (*request == nullptr) {
        *request = &peer;
        peer.method = method;
        peer.version = version;
        const auto* head =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
        if (head->header_size > cMaxHead) {
            self.Refuse(peer, cTooLong);
            return QueueResponse(connection, 431, MakeResponse(""), cClose);
        }
        // The library ends the address at a NUL in it. The version follows it in the same memory.
        const bool isCut = version > peer.targetEnd + 1 && version < peer.targetEnd + cMaxHead;
        if (isCut || peer.target.find(' ') != peer.target.npos) {
            self.Refuse(peer, "its address holds a space or a NUL");
            return QueueResponse(connection, 400, MakeResponse(""), cClose);
        }
        return MHD_YES;
    }
    if (*bodySize != 0) {
        *bodySize = 0;
        return MHD_YES;
    }
    try {
        return self.Take(peer);
    } catch (...) {
        self.error_ = std::current_exception();
        return MHD_NO;
    }
}

Endpoint::Peer& Endpoint::PeerOf(MHD_Connection* connection) {
    return *static_cast<Peer*>(
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
}

void Endpoint::Hold(Peer& peer, Clock::time_point until) {
    peer.state = Peer::State::Held;
    peer.due = until;
    MHD_suspend_connection(peer.connection);
}

void Endpoint::Release(Peer& peer) {
    peer.state = Peer::State::Gone;
    peer.due = Clock::now() + cPatience;
    MHD_resume_connection(peer.connection);
}

// The library would send the header as a whole.
void Endpoint::SendSlowByte(Peer& peer) {
    const char* byte = &cSlowAnswer[peer.sent++];
    const auto* tls = MHD_get_connection_info(peer.connection, MHD_CONNECTION_INFO_GNUTLS_SESSION);
    const ssize_t count =
        tls != nullptr
            ? gnutls_record_send(static_cast<gnutls_session_t>(tls->tls_session), byte, 1)
            : send(peer.socket, byte, 1, MSG_NOSIGNAL);
    peer.due = Clock::now() + 1s;
    if (count != 1 || peer.sent == cSlowAnswer.size()) {
        Release(peer);
    }
}

void Endpoint::LookAt(Peer& peer) {
    unsigned char byte = 0;
    if (peer.firstByte < 0 && recv(peer.socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 1) {
        peer.firstByte = byte;
    }
}

// The library says something when a handshake fails. At that time its session still exists, and
// when the connection's end is told, it does not.
void Endpoint::OnLog(void* endpoint, const char* /*format*/, std::va_list /*values*/) {
    for (Peer& peer : static_cast<Endpoint*>(endpoint)->peers_) {
        const auto* tls =
            peer.state == Peer::State::Active && peer.target.empty()
                ? MHD_get_connection_info(peer.connection, MHD_CONNECTION_INFO_GNUTLS_SESSION)
                : nullptr;
        if (tls != nullptr && tls->tls_session != nullptr) {
            peer.tlsFault = faultOfHandshake(static_cast<gnutls_session_t>(tls->tls_session));
        }
    }
}

void Endpoint::Refuse(Peer& peer, const std::string& reason) {
    peer.isTold = true;
    try {
        if (events_.onRefusal && !error_) {
            const std::string method = peer.method.empty() ? "" : peer.method + " ";
            const Refusal refusal{std::time(nullptr), method + peer.target, reason};
            events_.onRefusal(refusal);
            pageEvents_.Add(refusal);
            WakePages();
        }
    } catch (...) {
        error_ = std::current_exception();
    }
}

// The library answers some requests by itself and says nothing of them; which ones differs from
// release to release. So the connection's own state has to tell what happened. The library may miss
// that a client has left, if that was known before it read the request; then it waits in vain.
void Endpoint::TellEnd(Peer& peer) {
    tcp_info state{};
    socklen_t size = sizeof state;
    getsockopt(peer.socket, IPPROTO_TCP, TCP_INFO, &state, &size);
    // The client's end of the connection counts as a byte.
    if (peer.isTold || state.tcpi_bytes_received <= 1) {
        return;
    }
    // The library may have taken the handshake before its first byte was looked at. Then that byte
    // is an alert's or another record's.
    constexpr int cFirstRecord = 0x14;
    constexpr int cLastRecord = 0x17;
    const bool isTls = !options_.tls.certificate.empty();
    std::string reason = peer.tlsFault;
    if (isTls && peer.firstByte >= 0 &&
        (peer.firstByte < cFirstRecord || peer.firstByte > cLastRecord)) {
        reason = "it is plain HTTP, or no TLS at least, and this port takes HTTPS only";
    } else if (peer.isLate && !peer.hasLeft) {
        reason = "it took longer than 10 s to arrive";
    } else if (reason.empty()) {
        reason = state.tcpi_bytes_received > cMaxHead ? cTooLong
                 : peer.hasLeft ? "the client closed the connection before the request was complete"
                                : "it is no valid HTTP request";
    }
    Refuse(peer, reason);
}

}  // namespace tvtool
