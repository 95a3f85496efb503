#include "tvtool/endpoint/Endpoint.h"

#include "tvtool/base/Tool.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace tvtool {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view cTooLarge = "HTTP/1.1 431 Request Header Fields Too Large\r\n"
                                       "Content-Length: 0\r\nConnection: close\r\n\r\n";
constexpr std::string_view cSlowAnswer =
    "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok";
constexpr std::string_view cCutAnswer =
    "HTTP/1.1 200 OK\r\nContent-Length: 100\r\nConnection: close\r\n\r\ncut off";
constexpr char cNoRegistration[] = "No registration: that is a GET whose address has a query.\n";

FileDescriptor makeEvent() {
    FileDescriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (event.Get() < 0) {
        FailErrno(errno, "serve", "cannot wait for events");
    }
    return event;
}

FileDescriptor makeSocket() {
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket.Get() < 0) {
        FailErrno(errno, "serve", "cannot make a socket");
    }
    return socket;
}

void Signal(const FileDescriptor& event) noexcept {
    const std::uint64_t one = 1;
    const int before = errno;
    // It can only fail when the event is there already.
    if (write(event.Get(), &one, sizeof one) < 0) {
        errno = before;
    }
}

// Threads that are started meanwhile never run a signal handler.
class BlockedSignals {
public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t before_;
};

}  // namespace

Endpoint::Endpoint(EndpointOptions options)
    : options_(std::move(options)), wake_(makeEvent()), stop_(makeEvent()),
      listening_(makeSocket()) {
    Listen(options_.port);
}

Endpoint::~Endpoint() {
    EndWorkers();
}

void Endpoint::Listen(std::uint16_t port) {
    const std::string subject = "port " + std::to_string(port);
    // So that a port can be taken again at once, but never twice at a time.
    const int yes = 1;
    setsockopt(listening_.Get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(listening_.Get(), generic, size) != 0 || listen(listening_.Get(), 16) != 0) {
        if (errno == EADDRINUSE) {
            Fail(Exit::Failed, subject, "is in use; give another one, or none for a free one");
        }
        FailErrno(errno, subject, "cannot be listened on");
    }
    if (getsockname(listening_.Get(), generic, &size) != 0) {
        FailErrno(errno, subject, "has no address");
    }
    address_ = std::string(options_.tls ? "https" : "http") +
               "://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

void Endpoint::Stop() noexcept {
    Signal(stop_);
}

bool Endpoint::HasStopped() const {
    pollfd stop = {stop_.Get(), POLLIN, 0};
    return poll(&stop, 1, 0) > 0;
}

void Endpoint::Run(const std::function<void(const Registration&)>& print) {
    while (!HasStopped()) {
        WaitForEvents();
        Accept();
        PrintDeliveries(print);
        JoinEndedWorkers();
    }
    EndWorkers();
}

void Endpoint::WaitForEvents() {
    const int listening = workers_.size() < cMaxConnections ? listening_.Get() : -1;
    std::array<pollfd, 3> polled = {
        {{stop_.Get(), POLLIN, 0}, {wake_.Get(), POLLIN, 0}, {listening, POLLIN, 0}}};
    poll(polled.data(), polled.size(), -1);
    std::uint64_t ignored = 0;
    // Whatever it says, everything is looked at now.
    if (read(wake_.Get(), &ignored, sizeof ignored) < 0) {
        return;
    }
}

void Endpoint::Accept() {
    if (workers_.size() >= cMaxConnections) {
        return;
    }
    FileDescriptor socket(
        accept4(listening_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.Get() < 0) {
        return;
    }
    const BlockedSignals blocked;
    Worker& worker = workers_.emplace_back();
    try {
        worker.thread = std::thread(
            [this, &worker, taken = std::make_shared<FileDescriptor>(std::move(socket))] {
                Work(worker, std::move(*taken));
            });
    } catch (const std::system_error&) {
        workers_.pop_back();
        Complain("serve: a connection was dropped: no thread could be started for it");
    }
}

void Endpoint::PrintDeliveries(const std::function<void(const Registration&)>& print) {
    std::vector<Delivery*> due;
    {
        const std::lock_guard guard(lock_);
        due.swap(deliveries_);
    }
    for (Delivery* delivery : due) {
        if (last_ == nullptr) {
            print(delivery->registration);
            last_ = options_.once ? &delivery->worker : nullptr;
        }
        const std::lock_guard guard(lock_);
        delivery->isDone = true;
        changed_.notify_all();
    }
}

void Endpoint::JoinEndedWorkers() {
    for (auto worker = workers_.begin(); worker != workers_.end();) {
        {
            const std::lock_guard guard(lock_);
            if (!worker->hasEnded) {
                ++worker;
                continue;
            }
        }
        if (&*worker == last_) {
            Stop();
        }
        worker->thread.join();
        worker = workers_.erase(worker);
    }
}

void Endpoint::EndWorkers() {
    Stop();
    {
        const std::lock_guard guard(lock_);
        isEnding_ = true;
        changed_.notify_all();
    }
    for (Worker& worker : workers_) {
        worker.thread.join();
    }
    workers_.clear();
}

void Endpoint::Work(Worker& worker, FileDescriptor socket) {
    try {
        Connection connection(std::move(socket), stop_.Get(), options_.tls.get());
        while (ServeRequest(worker, connection)) {
        }
        if (options_.fault.kind != Fault::Kind::Reset) {
            connection.Finish();
        }
    } catch (const std::exception& error) {
        Complain(std::string("serve: a connection was dropped: ") + error.what());
    }
    const std::lock_guard guard(lock_);
    worker.hasEnded = true;
    Signal(wake_);
}

// Returns true if the connection may have another request.
bool Endpoint::ServeRequest(Worker& worker, Connection& connection) {
    switch (connection.ReadHead()) {
    case Connection::Head::None:
        return false;
    case Connection::Head::TooLarge:
        connection.Write(cTooLarge);
        return false;
    case Connection::Head::Complete:
        break;
    }
    const auto registration = FindRegistration(connection.HeadBytes());
    if (registration && !Deliver(worker, *registration)) {
        return false;
    }
    return Answer(connection, registration.has_value());
}

// Waits until it is printed; false when the endpoint ends instead.
bool Endpoint::Deliver(const Worker& worker, const Registration& registration) {
    Delivery delivery{registration, worker};
    std::unique_lock guard(lock_);
    deliveries_.push_back(&delivery);
    Signal(wake_);
    changed_.wait(guard, [&] { return delivery.isDone || isEnding_; });
    return delivery.isDone;
}

bool Endpoint::Answer(Connection& connection, bool isRegistration) const {
    const std::string target(TargetOf(connection.HeadBytes()));
    HttpAnswer answer;
    switch (options_.fault.kind) {
    case Fault::Kind::Stall:
        connection.WaitForPeer();
        return false;
    case Fault::Kind::Slow:
        for (std::size_t at = 0; at < cSlowAnswer.size(); ++at) {
            if (!connection.Write(cSlowAnswer.substr(at, 1)) || !connection.Pause(1s)) {
                return false;
            }
        }
        return false;
    case Fault::Kind::Reset:
        connection.Reset();
        return false;
    case Fault::Kind::Truncate:
        connection.Write(cCutAnswer);
        return false;
    case Fault::Kind::RedirectLoop:
        answer.status = 302;
        // With the host, since "//host" alone would lead elsewhere.
        answer.location = (target.starts_with("/") ? address_ : "") + target;
        // One connection may take the whole loop, so that it ends with it.
        return AnswerRequest(connection, answer, true);
    case Fault::Kind::Status:
        answer.status = options_.fault.status;
        break;
    case Fault::Kind::None:
        answer.status = isRegistration ? 200 : 404;
        answer.body = isRegistration ? "" : cNoRegistration;
        break;
    }
    return AnswerRequest(connection, answer, false);
}

}  // namespace tvtool
