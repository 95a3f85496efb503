// An endpoint on the loopback address that takes registrations, for testing who sends them. It can
// misbehave on purpose.
#pragma once

#include "tvtool/endpoint/Connection.h"
#include "tvtool/endpoint/HttpAnswer.h"
#include "tvtool/endpoint/Registration.h"
#include "tvtool/endpoint/ServerTls.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tvtool {

// What the endpoint does once it has read the head of a request.
struct Fault {
    enum class Kind {
        None,
        Stall,         // never answers
        Slow,          // answers with a byte a second
        Reset,         // resets the connection before the answer
        Truncate,      // ends before the length that the answer announces
        RedirectLoop,  // redirects to the same address
        Status,        // answers with `status`
    };
    Kind kind = Kind::None;
    int status = 200;
};

struct EndpointOptions {
    std::uint16_t port = 0;  // 0: any that is free
    TlsContext tls;          // null: plain HTTP
    Fault fault;
    // Whether to end after the first registration, when its connection has ended.
    bool once = false;
};

// Connections have threads of their own, cMaxConnections at a time; more wait in the system's
// queue.
class Endpoint {
public:
    static constexpr std::size_t cMaxConnections = 16;

    // Listens from here on. ToolError when it cannot.
    explicit Endpoint(EndpointOptions options);
    // Ends all connections.
    ~Endpoint();
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;

    // "http://127.0.0.1:PORT"
    const std::string& Address() const { return address_; }

    // Serves until Stop, or the first registration. Calls `print` on this thread, before the
    // registration is answered. What `print` throws ends it.
    void Run(const std::function<void(const Registration&)>& print);

    // Ends Run, before or while it runs. For any thread and for signal handlers.
    void Stop() noexcept;

private:
    struct Worker {
        std::thread thread;
        bool hasEnded = false;  // under lock_
    };
    // A registration that its worker wants printed.
    struct Delivery {
        const Registration& registration;
        const Worker& worker;
        bool isDone = false;  // under lock_
    };

    void Listen(std::uint16_t port);
    bool HasStopped() const;
    void WaitForEvents();
    void Accept();
    void PrintDeliveries(const std::function<void(const Registration&)>& print);
    void JoinEndedWorkers();
    void EndWorkers();

    void Work(Worker& worker, FileDescriptor socket);
    bool ServeRequest(Worker& worker, Connection& connection);
    bool Deliver(const Worker& worker, const Registration& registration);
    bool Answer(Connection& connection, bool isRegistration) const;

    const EndpointOptions options_;
    const FileDescriptor wake_;  // for Run
    const FileDescriptor stop_;  // for everybody
    const FileDescriptor listening_;
    std::string address_;
    std::list<Worker> workers_;
    // Whose registration ends Run.
    const Worker* last_ = nullptr;

    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<Delivery*> deliveries_;  // under lock_, as the next
    bool isEnding_ = false;
};

}  // namespace tvtool
