#include "tvtool/endpoint/HttpAnswer.h"

#include <httplib.h>

namespace tvtool {

namespace {

class Stream : public httplib::Stream {
public:
    explicit Stream(Connection& connection) : connection_(connection) {}
    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* bytes, size_t size) override { return connection_.Read(bytes, size); }
    ssize_t write(const char* bytes, size_t size) override {
        return connection_.Write({bytes, size}) ? static_cast<ssize_t>(size) : -1;
    }
    // Nobody asks for these.
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return INVALID_SOCKET; }

private:
    Connection& connection_;
};

// Only the parsing and the answering of the library's server: it does not listen.
class Server : public httplib::Server {
public:
    explicit Server(const HttpAnswer& answer) {
        // Before anything that looks at a path or reads a body.
        set_pre_routing_handler([answer](const httplib::Request&, httplib::Response& response) {
            response.status = answer.status;
            if (!answer.location.empty()) {
                response.set_header("Location", answer.location);
            }
            response.set_content(answer.body, "text/plain");
            return HandlerResponse::Handled;
        });
    }
    bool Answer(Connection& connection, bool keepAlive) {
        Stream stream(connection);
        bool isClosed = false;
        return process_request(stream, !keepAlive, isClosed, nullptr) && !isClosed;
    }
};

}  // namespace

bool AnswerRequest(Connection& connection, const HttpAnswer& answer, bool keepAlive) {
    return Server(answer).Answer(connection, keepAlive) && keepAlive;
}

}  // namespace tvtool
