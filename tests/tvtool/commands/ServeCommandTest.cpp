#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <signal.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace tvtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ServeCommandTest : public ToolTest {
protected:
    ServeCommandTest() { Run("config create a.nwc RegFirstName=Ada"); }

    // Starts the endpoint. The line that it begins with gives its address.
    std::unique_ptr<BackgroundTool> Serve(const std::string& options) {
        auto tool = std::make_unique<BackgroundTool>("serve " + options, Path(""));
        const std::string line = tool->ReadLine();
        EXPECT_THAT(line,
                    testing::MatchesRegex("tvtool: listening on https?://127\\.0\\.0\\.1:[0-9]+"));
        address_ = line.substr(line.find("http"));
        port_ = std::atoi(line.substr(line.rfind(':') + 1).c_str());
        return tool;
    }
    ToolResult Send(const std::string& more = "") {
        return Run("details write a.nwc --send --to " + address_ + "/v/prod_reg " + more);
    }
    // Lets the shell connect, as descriptor 3, and do something with the connection.
    std::string Connect(const std::string& commands) {
        const std::string peer = "/dev/tcp/127.0.0.1/" + std::to_string(port_);
        return Script("timeout 60 bash -c 'exec 3<>" + peer + "; " + commands + "'");
    }
    // Returns all that comes until the connection ends.
    std::string Ask(const std::string& request) {
        Write("request", request);
        return Connect("cat request >&3; cat <&3");
    }
    ToolResult Answered(const std::string& answer) {
        return Prints("sent to " + address_ + ": " + answer + "\n");
    }
    ToolResult Failed(const std::string& what) {
        return Refuses(6, address_ + ": " + what + "; the details are saved");
    }
    static ToolResult End(BackgroundTool& tool, int signal = SIGTERM) {
        kill(tool.Pid(), signal);
        return tool.Wait();
    }

    std::string address_;
    int port_ = 0;
    ScopedEnv noProxy_{"no_proxy", "127.0.0.1"};
};

TEST_F(ServeCommandTest, PrintsWhatArrivesForPeople) {
    const auto tool = Serve("");
    EXPECT_EQ(Send("--organisation 'Engines 100%' --email ada@x.org"),
              Answered("HTTP 200, 0 bytes"));
    EXPECT_THAT(
        Ask("GET /\x1B[2J?%1b=\x9B%0d%0A&RegOrg=a%&x&RegOrg=%4&&RegOrg=%4g%g4&RegEmail= HTTP/1.1"
            "\r\nuser-agent: \t a\x1B]b \r\n\r\n"),
        StartsWith("HTTP/1.1 200 "));
    ToolResult result = End(*tool);
    // A block begins with its time.
    for (const std::size_t block : {std::size_t{0}, result.out.find("\n\n") - 19}) {
        EXPECT_THAT(result.out.substr(block), testing::ContainsRegex("^[0-9-]{10} [0-9:]{8}  GET"));
        result.out.erase(block, 21);
    }
    EXPECT_EQ(result,
              Prints("GET /v/prod_reg\n  User-Agent:    Calyx Registration\n  First name:    Ada\n"
                     "  Last name:     \n  Organisation:  Engines 100%\n"
                     "  E-mail:        ada@x.org\n\n"
                     "GET /\\x1B[2J\n  User-Agent:    a\\x1B]b\n  Unknown \"\\x1B\": \\x9B\\r\\n\n"
                     "  Organisation:  a%  (holds a malformed escape)\n"
                     "  Unknown \"x\":   (no value)\n"
                     "  Organisation:  %4  (holds a malformed escape)\n"
                     "  Organisation:  %4g%g4  (holds a malformed escape)\n  E-mail:        \n"
                     "  First name:    (missing)\n  Last name:     (missing)\n\n"));
}

TEST_F(ServeCommandTest, PrintsOneJsonObjectALine) {
    const auto tool = Serve("--json");
    const std::pair<std::string, std::string> cases[] = {
        {"GET /p?b=1+2&a=%C3%A9&b=&c&b=%00 HTTP/1.1\r\nUser-Agent: x%41\r\n\r\n",
         R"({"path":"/p","query":"b=1+2&a=%C3%A9&b=&c&b=%00","userAgent":"x%41",)"
         R"("fields":{"b":["1 2","","\u0000"],"a":"é","c":null}})"},
        {"GET ?\xFF=%ff HTTP/1.0\r\nUser-Agents: x\r\n\r\n",
         R"({"path":"","query":{"base64":"/z0lZmY="},"userAgent":null,)"
         R"("fields":{"\\xFF":{"base64":"/w=="}}})"},
    };
    for (const auto& [request, line] : cases) {
        // It is printed before it is answered.
        EXPECT_THAT(Ask(request), StartsWith("HTTP/1.1 200 "));
        EXPECT_EQ(tool->ReadLine(), line);
    }
    EXPECT_EQ(End(*tool, SIGINT), Prints(""));
}

TEST_F(ServeCommandTest, EndsAfterTheFirstRegistrationWithOnce) {
    const auto tool = Serve("--once --json");
    for (const std::string request :
         {"POST /p?a=1 HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", "GET /p HTTP/1.1\r\n\r\n"}) {
        EXPECT_THAT(Ask(request), StartsWith("HTTP/1.1 404 "));
    }
    EXPECT_EQ(Send(), Answered("HTTP 200, 0 bytes"));
    EXPECT_THAT(tool->ReadLine(),
                StartsWith(R"({"path":"/v/prod_reg","query":"RegFirstName=Ada&)"));
    EXPECT_EQ(tool->Wait(), Prints(""));
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
        const auto tool = Serve("--json --once --fault " + fault);
        EXPECT_EQ(Send((what == unfinished ? "--wait 1 --last-name " : "--last-name ") + fault),
                  Failed(what));
        EXPECT_THAT(tool->ReadLine(), HasSubstr("\"RegLastName\":\"" + fault + "\""));
        EXPECT_EQ(tool->Wait(), Prints(""));
        EXPECT_EQ(Run("config get a.nwc RegLastName"), Prints(fault + "\n"));
    }
    const auto tool = Serve("--once --fault status=204");
    EXPECT_EQ(Send(), Answered("HTTP 204, 0 bytes"));
    EXPECT_EQ(tool->Wait().status, 0);
}

TEST_F(ServeCommandTest, BoundsWhatAClientCanDo) {
    const auto tool = Serve("--json");
    const std::string start = "GET /?a HTTP/1.1\r\nX: ";
    const std::string end = "\r\n\r\n";
    const std::string longest(8192 - start.size() - end.size(), 'x');
    const std::pair<std::string, std::string> cases[] = {
        {std::string(40000, 'a'), "431"}, {start + longest + "x" + end, "431"},
        {start + longest + end, "200"},   {"GET  HTTP/1.1\r\n\r\n", "400"},
        {"\x16\x03\x01 \r\n\r\n", "400"},
    };
    for (const auto& [request, status] : cases) {
        EXPECT_THAT(Ask(request), StartsWith("HTTP/1.1 " + status + " "));
    }
    EXPECT_THAT(tool->ReadLine(), HasSubstr("\"a\":null"));
    // More clients than it has threads for; it ends all the same, and at once.
    Connect("for i in {1..30}; do printf \"GET /?a=1\" >&3; exec {fd}>&3 3<>/dev/tcp/127.0.0.1/" +
            std::to_string(port_) + "; done; kill -INT " + std::to_string(tool->Pid()) +
            "; cat <&3");
    EXPECT_EQ(tool->Wait(), Prints(""));
}

TEST_F(ServeCommandTest, EndsWhileAClientIsStalled) {
    const auto tool = Serve("--json --fault stall");
    BackgroundTool client("details write a.nwc --send --to " + address_, Path(""));
    EXPECT_THAT(tool->ReadLine(), HasSubstr("\"RegFirstName\":\"Ada\""));
    EXPECT_EQ(End(*tool), Prints(""));
    EXPECT_THAT(client.Wait().out, HasSubstr("before the answer was complete"));
}

TEST_F(ServeCommandTest, RedirectsStayOnTheEndpoint) {
    const auto tool = Serve("--fault redirect-loop");
    EXPECT_THAT(Ask("GET //example.org/?a HTTP/1.1\r\nConnection: close\r\n\r\n"),
                HasSubstr("\r\nLocation: " + address_ + "//example.org/?a\r\n"));
}

TEST_F(ServeCommandTest, ServesHttps) {
    for (const std::string& file : {Path("a"), Path("b")}) {
        const std::string command =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj "
            "/CN=test -addext subjectAltName=IP:127.0.0.1 -keyout " +
            file + ".key -out " + file + ".pem 2>/dev/null";
        ASSERT_EQ(std::system(command.c_str()), 0);
    }
    const auto tool = Serve("--json --tls a.pem a.key");
    EXPECT_THAT(address_, StartsWith("https://"));
    EXPECT_EQ(Send(),
              Failed("no trusted TLS connection came about: the certificate is not trusted, has "
                     "expired or is another host's, or the server speaks no TLS"));
    {
        const ScopedEnv trust("SSL_CERT_FILE", Path("a.pem"));
        EXPECT_EQ(Send(), Answered("HTTP 200, 0 bytes"));
        EXPECT_THAT(tool->ReadLine(), HasSubstr("\"RegFirstName\":\"Ada\""));
    }
    EXPECT_THAT(Ask("GET /?a HTTP/1.1\r\n\r\n"), testing::Not(HasSubstr("HTTP")));
    EXPECT_EQ(End(*tool), Prints(""));

    const std::tuple<std::string, int, std::string> cases[] = {
        {"none.pem a.key", 3, "none.pem: cannot be read: No such file or directory"},
        {"a.key a.key", 4, "a.key: holds no certificate (PEM)"},
        {"a.pem a.nwc", 4, "a.nwc: holds no private key without a pass phrase (PEM)"},
        {"a.pem b.key", 4, "b.key: is not the key of a.pem"},
    };
    for (const auto& [files, status, message] : cases) {
        EXPECT_EQ(Run("serve --tls " + files), Refuses(status, message));
    }
}

TEST_F(ServeCommandTest, RefusesWhatItCannotServe) {
    const auto tool = Serve("");
    const std::string port = std::to_string(port_);
    EXPECT_EQ(Run("serve --port " + port),
              Refuses(1, "port " + port + ": is in use; give another one, or none for a free one"));
    for (const std::string fault : {"bogus", "status=", "status=199", "status=600", "status=2e2"}) {
        EXPECT_EQ(Run("serve --fault " + fault).status, 2) << fault;
    }
    for (const std::string number : {"-1", "65536", "80x", " 80"}) {
        EXPECT_EQ(Run("serve '--port=" + number + "'"),
                  Refuses(2, "--port \"" + number + "\": a port is a number from 0 to 65535"));
    }
    EXPECT_EQ(Run("serve --tls a.pem").status, 2);
    EXPECT_EQ(End(*tool).status, 0);
    // The port is free again at once, although a connection may linger.
    EXPECT_THAT(Serve("--port " + port), testing::NotNull());
    EXPECT_EQ(std::to_string(port_), port);
}

}  // namespace
}  // namespace tvtest
