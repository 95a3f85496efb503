// An endpoint on the loopback address that takes registrations, for testing who sends them. It can
// misbehave on purpose. One thread uses it.
#pragma once

#include "posix/Descriptor.h"
#include "tvtool/endpoint/Fault.h"
#include "tvtool/endpoint/Registration.h"
#include "tvtool/endpoint/ServerTls.h"
#include "tvtool/endpoint/StatusPage.h"

#include <microhttpd.h>

#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tvtool {

struct EndpointOptions {
    std::uint16_t port = 0;  // 0: any that is free
    ServerTls tls;           // without a certificate: plain HTTP
    Fault fault;
    // Whether to end after the first registration, when its connection has ended.
    bool once = false;
};

// What an endpoint tells. Each may throw, which ends Run.
struct EndpointEvents {
    // Comes before the registration is answered.
    std::function<void(const Registration&)> onRegistration;
    // Comes for each other request, and for each connection that brought bytes but no request.
    std::function<void(const Refusal&)> onRefusal;
};

class Endpoint {
public:
    // More connections wait in the system's queue.
    static constexpr unsigned cMaxConnections = 16;
    // A peer that needs longer for a request, or for taking an answer, is dropped.
    static constexpr std::chrono::seconds cPatience{10};
    // Pages that are open at a time; their connections count.
    static constexpr unsigned cMaxPages = 4;
    // Bytes of the request line and the header, the empty line included.
    static constexpr std::size_t cMaxHead = 8 << 10;

    // Listens from here on. Throws ToolError if it cannot.
    explicit Endpoint(EndpointOptions options);
    // Ends all connections.
    ~Endpoint();
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;

    // "http://127.0.0.1:PORT"
    const std::string& Address() const { return address_; }

    // Serves until Stop, or the first registration. The end of the object still tells about the
    // connections that it ends.
    void Run(EndpointEvents events);

    // Ends Run, before or while it runs. Any thread and any signal handler may call this.
    void Stop() noexcept;

private:
    using Clock = std::chrono::steady_clock;
    // A connection. While it is held, the library leaves it alone, and Wait watches it.
    struct Peer {
        enum class State { Free, Active, Held, Gone };
        State state = State::Free;
        MHD_Connection* connection = nullptr;
        int socket = -1;
        Clock::time_point due = Clock::time_point::max();  // for its request, or its next byte
        // The address in the request line, as it arrived, and its end in the library's memory.
        std::string target;
        const char* targetEnd = nullptr;
        std::size_t sent = 0;  // bytes of a slow answer
        int firstByte = -1;    // of the connection, if it was seen
        std::string method, version;
        // The events of a page: those that the library has not taken yet, and the next one.
        bool isPage = false;
        std::string unsent;
        std::size_t nextEvent = 0;
        Endpoint* owner = nullptr;
        std::string tlsFault;
        bool isTold = false;  // one of the events told about the request
        bool isLate = false;
        bool hasLeft = false;  // the client closed its end
    };
    struct StopDaemon {
        void operator()(MHD_Daemon* daemon) const { MHD_stop_daemon(daemon); }
    };

    // The library calls these, with the endpoint as their first argument.
    static void OnConnection(void* endpoint, MHD_Connection* connection, void** peer,
                             MHD_ConnectionNotificationCode code);
    static void OnLog(void* endpoint, const char* format, std::va_list values);
    static void* OnTarget(void* endpoint, const char* target, MHD_Connection* connection);
    static MHD_Result OnRequest(void* endpoint, MHD_Connection* connection, const char* path,
                                const char* method, const char* version, const char* body,
                                std::size_t* bodySize, void** request);

    static Peer& PeerOf(MHD_Connection* connection);
    static void Hold(Peer& peer, Clock::time_point until);
    // Lets the library close a held connection.
    static void Release(Peer& peer);
    static void SendSlowByte(Peer& peer);
    MHD_Result Take(Peer& peer);
    MHD_Result Answer(Peer& peer, bool isRegistration) const;
    // Answers what a browser asks for the page, or returns nullopt if it is something else.
    std::optional<MHD_Result> AnswerPage(Peer& peer);
    bool IsOwnPage(const Peer& peer, bool isNavigation) const;
    static ssize_t ReadEvents(void* peer, std::uint64_t position, char* bytes, std::size_t size);
    // Has the pages go on with what is new.
    void WakePages(const std::string& event = {});
    void Wait();
    // Looks at what arrives first, before the library takes it.
    static void LookAt(Peer& peer);
    void Refuse(Peer& peer, const std::string& reason);
    // Tells about a connection that ends without a request.
    void TellEnd(Peer& peer);

    EndpointOptions options_;
    const tvposix::Descriptor stop_;
    std::string address_;
    EndpointEvents events_;
    const PageText page_ = MakePage();
    PageEvents pageEvents_;
    std::exception_ptr error_;  // Run throws it
    bool hasEnded_ = false;
    bool hasResumed_ = false;  // a page's connection
    std::array<Peer, cMaxConnections> peers_;
    const Peer* last_ = nullptr;  // whose registration ends Run
    std::unique_ptr<MHD_Daemon, StopDaemon> daemon_;
};

}  // namespace tvtool
