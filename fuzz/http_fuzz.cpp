// Answers a request with the input, over a connection within the process: as it is, and as the body
// of a sound answer.
#include "cfnetwork/HttpTransfer.h"
#include "fuzz/FuzzTarget.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using tvfuzz::Require;
using namespace tvplatform;

struct Listener {
    Listener() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* name = reinterpret_cast<sockaddr*>(&address);
        Require(bind(descriptor, name, length) == 0 && listen(descriptor, 9) == 0 &&
                    getsockname(descriptor, name, &length) == 0,
                "there is a port");
        port = ntohs(address.sin_port);
    }
    int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    int port = 0;
};

HttpOpenFunction openModule() {
    setenv("no_proxy", "*", 1);
    void* module = dlopen(TVFUZZ_HTTP_MODULE, RTLD_NOW);
    Require(module != nullptr, "the module can be loaded");
    Require(reinterpret_cast<HttpStartFunction>(dlsym(module, cHttpStartFunction))(), "it starts");
    return reinterpret_cast<HttpOpenFunction>(dlsym(module, cHttpOpenFunction));
}

// Sends the whole answer and its end.
void answer(int connection, const std::string& bytes) {
    char request[2000];
    Require(read(connection, request, sizeof request) > 0, "a request comes");
    Require(send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) >= 0, "an answer fits");
    shutdown(connection, SHUT_WR);
}

// Returns the body; `status` is 0 if the transfer failed.
std::string fetch(const std::string& bytes, int& status) {
    static const Listener listener;
    static const HttpOpenFunction open = openModule();
    HttpRequest request;
    request.url = "http://127.0.0.1:" + std::to_string(listener.port) + "/";
    std::shared_ptr<HttpTransfer> transfer;
    Require(open(request, transfer), "a transfer begins");
    std::string body;
    int connection = -1;
    bool isAnswered = false;
    for (DriverState state; !state.ended && !state.failed; state = transfer->State()) {
        PollSet set(Clock::time_point::max());
        transfer->Prepare(set);
        if (!isAnswered) {
            set.Add(connection < 0 ? listener.descriptor : connection, POLLIN);
        }
        set.Wait();
        std::vector<pollfd> polled = set.Descriptors();
        if (!isAnswered) {
            const bool isReady = polled.back().revents != 0;
            polled.pop_back();
            if (isReady && connection < 0) {
                connection = accept(listener.descriptor, nullptr, nullptr);
            } else if (isReady) {
                answer(connection, bytes);
                isAnswered = true;
            }
        }
        transfer->Step(polled);
    }
    unsigned char piece[1000];
    while (const std::size_t count = transfer->Read(piece, sizeof piece)) {
        body.append(piece, piece + count);
    }
    status = transfer->State().ended ? transfer->Status() : 0;
    transfer->Cancel();
    // Closing with a reset leaves no connection behind that would use up the ports.
    const linger reset{1, 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    close(connection);
    return body;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + std::min<std::size_t>(size, 30000));
    int status = 0;
    const std::string body = fetch(text, status);
    Require(status == 0 || status >= 200, "an answer has a status");
    // The marks of a chunked body stand between its bytes.
    auto at = text.begin();
    for (const char c : body) {
        at = std::find(at, text.end(), c);
        Require(at != text.end(), "a body is from the answer");
        ++at;
    }

    const std::string header = "HTTP/1.1 201 Created\r\n";
    Require(fetch(header + "Content-Length: " + std::to_string(text.size()) + "\r\n\r\n" + text,
                  status) == text &&
                status == 201,
            "a body with a length arrives");
    return 0;
}
