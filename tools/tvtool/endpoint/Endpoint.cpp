#include "tvtool/endpoint/Endpoint.h"

#include "posix/Descriptor.h"
#include "tvtool/base/Tool.h"

#include <arpa/inet.h>
#include <gnutls/gnutls.h>
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

namespace tvtool {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view cSlowAnswer =
    "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok";
constexpr std::string_view cCutBody = "cut off";
constexpr std::size_t cAnnounced = 100;  // bytes, of which cCutBody comes
constexpr std::string_view cNoRegistration =
    "No registration: that is a GET whose address has a query.\n";

struct FreeResponse {
    void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, FreeResponse>;

// Borrows `body`.
Response makeResponse(std::string_view body) {
    return Response(MHD_create_response_from_buffer(body.size(), const_cast<char*>(body.data()),
                                                    MHD_RESPMEM_PERSISTENT));
}

MHD_Result queue(MHD_Connection* connection, unsigned status, const Response& response,
                 const char* header, const std::string& value) {
    return response && MHD_add_response_header(response.get(), header, value.c_str()) == MHD_YES
               ? MHD_queue_response(connection, status, response.get())
               : MHD_NO;
}

ssize_t readCutBody(void*, std::uint64_t position, char* bytes, std::size_t size) {
    return position == 0 ? static_cast<ssize_t>(cCutBody.copy(bytes, size))
                         : MHD_CONTENT_READER_END_WITH_ERROR;
}

// Has the peer see a reset (RST).
void resetConnection(int socket) {
    const sockaddr nobody{};
    static_cast<void>(connect(socket, &nobody, sizeof nobody));
}

// Returns why nobody can listen on the address, or ENOMEM if that was not the reason: not every
// release of the library leaves it in errno.
int errorOfBinding(const sockaddr_in& address) {
    const tvposix::Descriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto* general = reinterpret_cast<const sockaddr*>(&address);
    return !probe || bind(probe.Get(), general, sizeof address) != 0 ? errno : ENOMEM;
}

std::optional<std::string> findUserAgent(MHD_Connection* connection) {
    const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "User-Agent");
    if (value == nullptr) {
        return std::nullopt;
    }
    const std::string_view text(value);
    const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    return std::string(text.substr(begin, text.find_last_not_of(" \t") + 1 - begin));
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
        MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | (isTls ? MHD_USE_TLS : MHD_NO_FLAG), 0, nullptr,
        nullptr, OnRequest, this, MHD_OPTION_NOTIFY_CONNECTION, OnConnection, this,
        MHD_OPTION_URI_LOG_CALLBACK, OnTarget, this, MHD_OPTION_SOCK_ADDR, &address,
        MHD_OPTION_CONNECTION_LIMIT, cMaxConnections, MHD_OPTION_CONNECTION_MEMORY_LIMIT,
        4 * cMaxHead, MHD_OPTION_STRICT_FOR_CLIENT, -1, MHD_OPTION_ARRAY, tls, MHD_OPTION_END));
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

void Endpoint::Run(std::function<void(const Registration&)> print) {
    print_ = std::move(print);
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
        const bool isHeld = peers_[i].state == Peer::State::Held;
        polled[i] = {isHeld ? peers_[i].socket : -1, POLLRDHUP, 0};
        due = std::min(due, peers_[i].due);
    }
    pollfd& stop = polled[cMaxConnections];
    stop = {stop_.Get(), POLLIN, 0};
    polled[cMaxConnections + 1] = {
        MHD_get_daemon_info(daemon_.get(), MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd, POLLIN, 0};
    int limit = -1;
    if (due != Clock::time_point::max()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now()).count();
        limit = static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
    }
    poll(polled.data(), polled.size(), limit);
    hasEnded_ = stop.revents != 0;
    const Clock::time_point now = Clock::now();
    for (std::size_t i = 0; i < peers_.size(); ++i) {
        Peer& peer = peers_[i];
        if (polled[i].revents != 0) {
            Release(peer);
        } else if (peer.due <= now && peer.state == Peer::State::Held) {
            SendSlowByte(peer);
        } else if (peer.due <= now) {
            shutdown(peer.socket, SHUT_RDWR);
            peer.due = Clock::time_point::max();
        }
    }
}

void Endpoint::OnConnection(void* endpoint, MHD_Connection* connection, void** peer,
                            MHD_ConnectionNotificationCode code) {
    Endpoint& self = *static_cast<Endpoint*>(endpoint);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        self.hasEnded_ = self.hasEnded_ || *peer == self.last_;
        *static_cast<Peer*>(*peer) = Peer();
        return;
    }
    // The library counts the connections too, so one is free.
    Peer& free = *std::find_if(self.peers_.begin(), self.peers_.end(),
                               [](const Peer& known) { return known.state == Peer::State::Free; });
    free.state = Peer::State::Active;
    free.connection = connection;
    free.socket =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
    free.due = Clock::now() + cPatience;
    *peer = &free;
}

void* Endpoint::OnTarget(void* endpoint, const char* target, MHD_Connection* connection) {
    try {
        Peer& peer = PeerOf(connection);
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
        const auto* head =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
        if (head->header_size > cMaxHead) {
            return queue(connection, 431, makeResponse(""), "Connection", "close");
        }
        // The library ends the address at a NUL in it. The version follows it in the same memory.
        const bool isCut = version > peer.targetEnd + 1 && version < peer.targetEnd + cMaxHead;
        if (isCut || peer.target.find(' ') != peer.target.npos) {
            return queue(connection, 400, makeResponse(""), "Connection", "close");
        }
        return MHD_YES;
    }
    if (*bodySize != 0) {
        *bodySize = 0;
        return MHD_YES;
    }
    try {
        return self.Take(peer, method);
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

MHD_Result Endpoint::Take(Peer& peer, std::string_view method) {
    const std::size_t mark = peer.target.find('?');
    const bool isRegistration = method == "GET" && mark != peer.target.npos;
    if (isRegistration && last_ == nullptr) {
        print_({peer.target.substr(0, mark), peer.target.substr(mark + 1),
                findUserAgent(peer.connection)});
        last_ = options_.once ? &peer : nullptr;
    }
    peer.due = Clock::now() + cPatience;
    return Answer(peer, isRegistration);
}

MHD_Result Endpoint::Answer(Peer& peer, bool isRegistration) const {
    unsigned status = 200;
    Response response;
    switch (options_.fault.kind) {
    case Fault::Kind::Stall:
        Hold(peer, Clock::time_point::max());
        return MHD_YES;
    case Fault::Kind::Slow:
        Hold(peer, Clock::now());
        return MHD_YES;
    case Fault::Kind::Reset:
        resetConnection(peer.socket);
        return MHD_NO;
    case Fault::Kind::Truncate:
        response.reset(MHD_create_response_from_callback(cAnnounced, cAnnounced, readCutBody,
                                                         nullptr, nullptr));
        break;
    case Fault::Kind::RedirectLoop:
        // The address has the host, since "//host" alone would lead elsewhere. One connection may
        // take the whole loop, so that it ends with it.
        return queue(peer.connection, 302, makeResponse(""), "Location",
                     (peer.target.starts_with("/") ? address_ : "") + peer.target);
    case Fault::Kind::Status:
        status = options_.fault.status;
        response = makeResponse("");
        break;
    case Fault::Kind::None:
        status = isRegistration ? 200 : 404;
        response = makeResponse(isRegistration ? "" : cNoRegistration);
        break;
    }
    return queue(peer.connection, status, response, "Connection", "close");
}

}  // namespace tvtool
