#include "tests/support/LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace tvtest {
namespace {

// Hides the proxies and certificates of the user who runs the tests, before the first thread.
[[maybe_unused]] const bool gIsAlone = [] {
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY",
                             "no_proxy", "NO_PROXY", "SSL_CERT_FILE", "SSL_CERT_DIR"}) {
        unsetenv(name);
    }
    return true;
}();

}  // namespace

std::string Connection::ReadRequest() const {
    std::string request;
    char byte = 0;
    while (!request.ends_with("\r\n\r\n")) {
        if (recv(socket_, &byte, 1, 0) != 1) {
            return {};
        }
        request.push_back(byte);
    }
    return request;
}

bool Connection::Send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

bool Connection::Answer(std::string_view statusAndHeaders, std::string_view body) const {
    return Send(AnswerOf(statusAndHeaders, body));
}

void Connection::Hold() const {
    char bytes[1024];
    while (recv(socket_, bytes, sizeof bytes, 0) > 0) {
    }
}

LoopbackServer::LoopbackServer(Handler handler) : handler_(std::move(handler)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener_, generic, length) != 0 || getsockname(listener_, generic, &length) != 0 ||
        listen(listener_, 64) != 0) {
        throw std::runtime_error("cannot listen on a loopback socket");
    }
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { Accept(); });
}

LoopbackServer::LoopbackServer(Answers answers)
    : LoopbackServer([this, answers = std::move(answers)](Connection& connection) {
          for (std::string request; !(request = connection.ReadRequest()).empty();) {
              {
                  const std::lock_guard guard(lock_);
                  requests_.push_back(request);
              }
              if (const auto found = answers.find(PathOf(request)); found != answers.end()) {
                  connection.Send(found->second);
              }
          }
      }) {}

LoopbackServer::~LoopbackServer() {
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    close(listener_);
    const std::lock_guard guard(lock_);
    for (const int socket : sockets_) {
        shutdown(socket, SHUT_RDWR);
    }
}

std::string LoopbackServer::Url(std::string_view path, std::string_view scheme) const {
    return std::string(scheme) + "://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

std::vector<std::string> LoopbackServer::Requests() const {
    const std::lock_guard guard(lock_);
    return requests_;
}

void LoopbackServer::Accept() {
    int socket = -1;
    while ((socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
        const std::lock_guard guard(lock_);
        ++accepted_;
        sockets_.push_back(socket);
        threads_.emplace_back([this, socket] { Serve(socket); });
    }
}

void LoopbackServer::Serve(int socket) {
    Connection connection(socket);
    handler_(connection);
    const std::lock_guard guard(lock_);
    std::erase(sockets_, socket);
    close(socket);
}

std::string PathOf(std::string_view request) {
    const size_t start = request.find(' ') + 1;
    return std::string(request.substr(start, request.find(' ', start) - start));
}

std::string AnswerOf(std::string_view statusAndHeaders, std::string_view body) {
    return "HTTP/1.1 " + std::string(statusAndHeaders) +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

}  // namespace tvtest
