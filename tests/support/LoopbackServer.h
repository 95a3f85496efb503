// A server on the loopback address that serves each connection on a thread of its own. It never
// sleeps: a peer that stalls is a connection that is held open.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tvtest {

class Connection {
public:
    explicit Connection(int socket) : socket_(socket) {}

    // Returns the header of the next request, with the empty line, or "" if the peer has closed.
    std::string ReadRequest() const;
    // Returns false if the peer is gone.
    bool Send(std::string_view bytes) const;
    // Sends an answer with a length. The connection may be used again afterwards.
    bool Answer(std::string_view statusAndHeaders, std::string_view body) const;
    // Waits until the peer closes its end, or the server stops.
    void Hold() const;

private:
    const int socket_;
};

class LoopbackServer {
public:
    using Handler = std::function<void(Connection&)>;
    using Answers = std::map<std::string, std::string>;

    explicit LoopbackServer(Handler handler);
    // Sends the answer that belongs to a request's path, byte for byte, and never answers a path
    // without one.
    explicit LoopbackServer(Answers answers);
    // Closes every connection and waits for their threads.
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    int Port() const { return port_; }
    // Returns "http://127.0.0.1:PORT" and the path.
    std::string Url(std::string_view path = "/", std::string_view scheme = "http") const;
    int Accepted() const { return accepted_; }
    // Returns the headers of the requests that a server with answers has seen.
    std::vector<std::string> Requests() const;

private:
    void Accept();
    void Serve(int socket);

    const Handler handler_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<int> accepted_{0};
    mutable std::mutex lock_;
    std::vector<int> sockets_;
    std::vector<std::string> requests_;
    // They end before the rest goes.
    std::vector<std::jthread> threads_;
    std::thread acceptor_;
};

// Returns an answer with a length.
std::string AnswerOf(std::string_view statusAndHeaders, std::string_view body);
// Returns the path of a request's first line.
std::string PathOf(std::string_view request);

}  // namespace tvtest
