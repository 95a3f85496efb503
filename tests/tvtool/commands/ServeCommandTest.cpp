#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace tvtest {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// A client that says exactly what it is told to.
class Client {
public:
    explicit Client(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval limit = {60, 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~Client() { close(socket_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void Say(const std::string& bytes) {
        EXPECT_EQ(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    // All that comes until the connection ends.
    std::string Hear() {
        std::string text;
        char bytes[4096];
        for (ssize_t count = 0; (count = recv(socket_, bytes, sizeof bytes, 0)) > 0;) {
            text.append(bytes, static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    const int socket_;
};

class ServeCommandTest : public ToolTest {
protected:
    ServeCommandTest() { Run({"config", "create", "a.nwc", "RegFirstName=Ada"}); }

    // Starts the endpoint; the line that it begins with gives its address.
    std::unique_ptr<BackgroundTool> Serve(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "serve");
        auto tool = std::make_unique<BackgroundTool>(arguments, Path(""));
        const std::string line = tool->ReadErrorLine();
        const std::string scheme = "tvtool: listening on http";
        EXPECT_THAT(line, testing::MatchesRegex(scheme + "s?://127\\.0\\.0\\.1:[0-9]+"));
        address_ = line.substr(line.find("http"));
        port_ = std::atoi(line.substr(line.rfind(':') + 1).c_str());
        return tool;
    }
    ToolResult Send(std::vector<std::string> more = {}) {
        const std::vector<std::string> first = {"details", "write", "a.nwc",
                                                "--send",  "--to",  address_ + "/v/prod_reg"};
        more.insert(more.begin(), first.begin(), first.end());
        return Run(more);
    }
    std::string Ask(const std::string& request) {
        Client client(port_);
        client.Say(request);
        return client.Hear();
    }
    ToolResult Answered(const std::string& answer) {
        return Prints("sent to " + address_ + ": " + answer + "\n");
    }
    ToolResult Failed(const std::string& what) {
        return Refuses(6, address_ + ": " + what + "; the details are saved");
    }

    std::string address_;
    int port_ = 0;
    ScopedEnv noProxy_{"no_proxy", "127.0.0.1"};
};

// Less its time, which stands in front.
std::string withoutTime(const std::string& block) {
    EXPECT_THAT(block, testing::ContainsRegex("^[0-9-]{10} [0-9:]{8}  GET"));
    return block.substr(std::min<std::size_t>(block.size(), 21));
}

TEST_F(ServeCommandTest, PrintsWhatArrivesForPeople) {
    const auto tool = Serve({});
    EXPECT_EQ(Send({"--organisation", "Engines 100%", "--email", "ada@x.org"}),
              Answered("HTTP 200, 0 bytes"));
    EXPECT_THAT(Ask("GET /\x1B[2J?%1b=\x9B%0d%0A&RegOrg=a%&x&RegOrg=%4&&RegEmail= HTTP/1.1\r\n"
                    "user-agent: \t a\x1B]b \r\n\r\n"),
                StartsWith("HTTP/1.1 200 "));
    tool->Signal(SIGTERM);
    const ToolResult result = tool->Wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::size_t second = result.out.find("\n\n") + 2;
    EXPECT_EQ(withoutTime(result.out.substr(0, second)), "GET /v/prod_reg\n"
                                                         "  User-Agent:    Calyx Registration\n"
                                                         "  First name:    Ada\n"
                                                         "  Last name:     \n"
                                                         "  Organisation:  Engines 100%\n"
                                                         "  E-mail:        ada@x.org\n\n");
    EXPECT_EQ(withoutTime(result.out.substr(second)),
              "GET /\\x1B[2J\n"
              "  User-Agent:    a\\x1B]b\n"
              "  Unknown \"\\x1B\": \\x9B\\r\\n\n"
              "  Organisation:  a%  (holds a malformed escape)\n"
              "  Unknown \"x\":   (no value)\n"
              "  Organisation:  %4  (holds a malformed escape)\n"
              "  E-mail:        \n"
              "  First name:    (missing)\n"
              "  Last name:     (missing)\n\n");
}

TEST_F(ServeCommandTest, PrintsOneJsonObjectALine) {
    const auto tool = Serve({"--json"});
    const std::pair<std::string, std::string> cases[] = {
        {"GET /p?b=1+2&a=%C3%A9&b=&c&b=%00 HTTP/1.1\r\nUser-Agent: x%41\r\n\r\n",
         R"({"path":"/p","query":"b=1+2&a=%C3%A9&b=&c&b=%00","userAgent":"x%41",)"
         R"("fields":{"b":["1 2","","\u0000"],"a":")"
         "\xC3\xA9\",\"c\":null}}"},
        {"GET ?\xFF=%ff HTTP/1.0\r\nUser-Agents: x\r\n\r\n",
         R"({"path":"","query":{"base64":"/z0lZmY="},"userAgent":null,)"
         R"("fields":{"\\xFF":{"base64":"/w=="}}})"},
    };
    for (const auto& [request, line] : cases) {
        Client client(port_);
        client.Say(request);
        // It is printed before it is answered.
        EXPECT_THAT(client.Hear(), StartsWith("HTTP/1.1 200 "));
        EXPECT_EQ(tool->ReadOutputLine(), line);
    }
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->Wait(), Prints(""));
}

TEST_F(ServeCommandTest, EndsAfterTheFirstRegistrationWithOnce) {
    const auto tool = Serve({"--once", "--json"});
    for (const std::string request :
         {"POST /p?a=1 HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", "GET /p HTTP/1.1\r\n\r\n"}) {
        EXPECT_THAT(Ask(request), StartsWith("HTTP/1.1 404 "));
    }
    EXPECT_EQ(Send(), Answered("HTTP 200, 0 bytes"));
    const ToolResult result = tool->Wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, StartsWith(R"({"path":"/v/prod_reg","query":"RegFirstName=Ada&)"));
    EXPECT_EQ(result.out.find('\n'), result.out.size() - 1);
    EXPECT_EQ(Send(), Failed("the connection was refused: nothing listens there"));
}

TEST_F(ServeCommandTest, MisbehavesAsItIsTold) {
    const std::string unfinished =
        "no complete answer came within 1 s, so it is not known whether the details arrived";
    const std::string closed = "the server closed the connection before the answer was complete";
    const std::pair<std::string, std::string> faults[] = {
        {"stall", unfinished},
        {"slow", unfinished},
        {"reset", closed},
        {"truncate", "HTTP 200, but " + closed},
        {"redirect-loop", "there were too many redirects"},
        {"status=404", "HTTP 404: the registration was not accepted"},
        {"status=599", "HTTP 599: the registration was not accepted"},
    };
    for (const auto& [fault, what] : faults) {
        SCOPED_TRACE(fault);
        const auto tool = Serve({"--json", "--once", "--fault", fault});
        EXPECT_EQ(Send({"--wait", what == unfinished ? "1" : "0", "--last-name", fault}),
                  Failed(what));
        const ToolResult result = tool->Wait();
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, HasSubstr("\"RegLastName\":\"" + fault + "\""));
        EXPECT_THAT(result.out, testing::Not(HasSubstr("\n{")));
        EXPECT_EQ(Run({"config", "get", "a.nwc", "RegLastName"}), Prints(fault + "\n"));
    }
    const auto tool = Serve({"--once", "--fault", "status=204"});
    EXPECT_EQ(Send(), Answered("HTTP 204, 0 bytes"));
    EXPECT_EQ(tool->Wait().status, 0);
}

TEST_F(ServeCommandTest, BoundsWhatAClientCanDo) {
    const auto tool = Serve({"--json"});
    EXPECT_THAT(Ask(std::string(40000, 'a')), StartsWith("HTTP/1.1 431 "));
    const std::string start = "GET /?a HTTP/1.1\r\nX: ";
    const std::string end = "\r\n\r\n";
    const std::string longest(8192 - start.size() - end.size(), 'x');
    EXPECT_THAT(Ask(start + longest + "x" + end), StartsWith("HTTP/1.1 431 "));
    EXPECT_THAT(Ask(start + longest + end), StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(tool->ReadOutputLine(), HasSubstr("\"a\":null"));
    EXPECT_THAT(Ask("GET  HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(Ask("\x16\x03\x01 \r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    // More than it has threads for; it ends all the same, and at once.
    std::vector<std::unique_ptr<Client>> idle;
    for (int i = 0; i < 30; ++i) {
        idle.push_back(std::make_unique<Client>(port_));
        idle.back()->Say("GET /?a=1");
    }
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->Wait(), Prints(""));
}

TEST_F(ServeCommandTest, EndsWhileAClientIsStalled) {
    const auto tool = Serve({"--json", "--fault", "stall"});
    Client client(port_);
    client.Say("GET /?a=1 HTTP/1.1\r\n\r\n");
    EXPECT_THAT(tool->ReadOutputLine(), HasSubstr("\"a\":\"1\""));
    tool->Signal(SIGTERM);
    EXPECT_EQ(tool->Wait(), Prints(""));
    EXPECT_EQ(client.Hear(), "");
}

TEST_F(ServeCommandTest, RedirectsStayOnTheEndpoint) {
    const auto tool = Serve({"--fault", "redirect-loop"});
    Client client(port_);
    client.Say("GET //example.org/?a HTTP/1.1\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(client.Hear(), HasSubstr("\r\nLocation: " + address_ + "//example.org/?a\r\n"));
}

TEST_F(ServeCommandTest, ServesHttps) {
    const auto make = [&](const std::string& name) {
        const std::string file = Path(name);
        const std::string command =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj "
            "/CN=test -addext subjectAltName=IP:127.0.0.1 -keyout " +
            file + ".key -out " + file + ".pem 2>/dev/null";
        ASSERT_EQ(std::system(command.c_str()), 0);
    };
    make("a");
    make("b");
    const auto tool = Serve({"--json", "--tls", "a.pem", "a.key"});
    EXPECT_THAT(address_, StartsWith("https://"));
    const ToolResult distrusted =
        Failed("no trusted TLS connection came about: the certificate is not trusted, has expired "
               "or is another host's, or the server speaks no TLS");
    EXPECT_EQ(Send(), distrusted);
    {
        const ScopedEnv trust("SSL_CERT_FILE", Path("a.pem"));
        EXPECT_EQ(Send(), Answered("HTTP 200, 0 bytes"));
        EXPECT_THAT(tool->ReadOutputLine(), HasSubstr("\"RegFirstName\":\"Ada\""));
    }
    EXPECT_EQ(Ask("GET /?a HTTP/1.1\r\n\r\n").find("HTTP"), std::string::npos);
    tool->Signal(SIGTERM);
    EXPECT_EQ(tool->Wait(), Prints(""));

    const struct {
        std::vector<std::string> files;
        int status;
        std::string message;
    } cases[] = {
        {{"none.pem", "a.key"}, 3, "none.pem: cannot be read: No such file or directory"},
        {{"a.key", "a.key"}, 4, "a.key: holds no certificate (PEM)"},
        {{"a.pem", "a.nwc"}, 4, "a.nwc: holds no private key without a pass phrase (PEM)"},
        {{"a.pem", "b.key"}, 4, "b.key: is not the key of a.pem"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Run({"serve", "--tls", c.files[0], c.files[1]}), Refuses(c.status, c.message));
    }
}

TEST_F(ServeCommandTest, RefusesWhatItCannotServe) {
    const auto tool = Serve({});
    const std::string port = std::to_string(port_);
    EXPECT_EQ(BackgroundTool({"serve", "--port", port}, Path("")).Wait(),
              Refuses(1, "port " + port + ": is in use; give another one, or none for a free one"));
    for (const char* fault : {"bogus", "status=", "status=199", "status=600", "status=2e2"}) {
        EXPECT_EQ(Run({"serve", "--fault", fault}).status, 2) << fault;
    }
    for (const char* number : {"-1", "65536", "80x", " 80"}) {
        EXPECT_EQ(Run({"serve", std::string("--port=") + number}),
                  Refuses(2, "--port \"" + std::string(number) +
                                 "\": a port is a number from 0 to 65535"));
    }
    EXPECT_EQ(Run({"serve", "--tls", "a.pem"}).status, 2);
    tool->Signal(SIGTERM);
    EXPECT_EQ(tool->Wait().status, 0);
    // The port is free again at once, although a connection may linger.
    EXPECT_THAT(Serve({"--port", port}), testing::NotNull());
    EXPECT_EQ(std::to_string(port_), port);
}

}  // namespace
}  // namespace tvtest
