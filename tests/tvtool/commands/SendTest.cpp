#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

namespace tvtest {
namespace {

using testing::HasSubstr;

// Keeps what one client says and answers it.
class Listener {
public:
    Listener() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(bind(socket_, generic, size), 0);
        EXPECT_EQ(listen(socket_, 4), 0);
        EXPECT_EQ(getsockname(socket_, generic, &size), 0);
        host_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    }
    ~Listener() { close(socket_); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    const std::string& Host() const { return host_; }
    bool WasContacted() {
        pollfd polled = {socket_, POLLIN, 0};
        return poll(&polled, 1, 0) > 0;
    }
    std::string Take(const std::string& answer) {
        pollfd polled = {socket_, POLLIN, 0};
        if (poll(&polled, 1, 60'000) != 1) {
            ADD_FAILURE() << "nobody came";
            return "";
        }
        const int client = accept(socket_, nullptr, nullptr);
        std::string request;
        char byte = 0;
        while (!request.ends_with("\r\n\r\n") && read(client, &byte, 1) == 1) {
            request += byte;
        }
        EXPECT_EQ(write(client, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
        close(client);
        return request;
    }

private:
    const int socket_;
    std::string host_;
};

std::string withLineFeeds(std::string text) {
    std::erase(text, '\r');
    // Less the empty line at the end.
    return text.substr(0, text.size() - 1);
}

class SendTest : public ToolTest {
protected:
    SendTest() {
        Run({"config", "create", "a.nwc", "RegFirstName=Ada"});
        before_ = Read("a.nwc");
    }
    static std::vector<std::string> Write(std::vector<std::string> more) {
        const std::vector<std::string> first = {"details", "write", "a.nwc"};
        more.insert(more.begin(), first.begin(), first.end());
        return more;
    }
    void SetRegistryAddress(const std::string& address) {
        home_.Write("machine/Nimbus Works/Nimbus Works Registry",
                    "[CX7]\nProdRegURL=" + address + "\n");
    }

    std::string before_;
    ScopedEnv noProxy_{"no_proxy", "127.0.0.1,localhost"};
};

TEST_F(SendTest, DryRunIsWhatArrives) {
    Listener listener;
    const std::string given[] = {
        "http://" + listener.Host() + "/v/prod_reg",
        "HTTP://LOCALHOST" + listener.Host().substr(9) + "?x=%41%2F%25 <",
        "http://us%20er@" + listener.Host() + "/a/../%C3%A9/",
        "http://us:p%3Aw@" + listener.Host(),
    };
    for (const std::string& to : given) {
        SCOPED_TRACE(to);
        std::vector<std::string> arguments =
            Write({"--organisation", "A=B %41 100%", "--email", "a@b.c", "--to", to, "--dry-run"});
        const ToolResult dry = Run(arguments);
        EXPECT_EQ(dry.status, 0);
        EXPECT_THAT(dry.err, testing::MatchesRegex("tvtool: would go to http://[A-Z0-9.]+:[0-9]+; "
                                                   "nothing was saved or sent\n"));
        EXPECT_FALSE(listener.WasContacted());
        EXPECT_EQ(Read("a.nwc"), before_);

        arguments.back() = "--send";
        BackgroundTool tool(arguments, Path(""));
        const std::string request = listener.Take("HTTP/1.1 200 OK\r\n\r\nabc");
        EXPECT_EQ(withLineFeeds(request), dry.out);
        EXPECT_THAT(tool.Wait().out, testing::EndsWith(": HTTP 200, 3 bytes\n"));
        EXPECT_NE(Read("a.nwc"), before_);
        home_.Write("a.nwc", before_);
    }
    EXPECT_THAT(Run(Write({"--dry-run", "--to", "https://x.org:443/"})).out,
                HasSubstr("\nHost: x.org\n"));
}

TEST_F(SendTest, GoesWhereTheFrameworkWouldSendTo) {
    const ToolResult nowhere =
        Refuses(1, "details write: there is no address to send to: this build has none, and the "
                   "shared registry names none; give one with --to URL");
    const std::string host = TV_REGISTRATION_HOST;
    if (host.empty()) {
        EXPECT_EQ(Run(Write({"--send", "--email", "a@b.c"})), nowhere);
    } else {
        EXPECT_THAT(Run(Write({"--dry-run"})).out, HasSubstr("\nHost: " + host + "\n"));
    }
    SetRegistryAddress("");
    EXPECT_EQ(Run(Write({"--send", "--email", "a@b.c"})), nowhere);
    SetRegistryAddress("ftp://x.org/");
    EXPECT_EQ(Run(Write({"--send", "--email", "a@b.c"})),
              Refuses(4, "ProdRegURL of the shared registry: is no http or https address with a "
                         "host, or has a malformed escape"));
    EXPECT_EQ(Read("a.nwc"), before_);

    Listener listener;
    SetRegistryAddress("http://" + listener.Host() + "/reg");
    BackgroundTool tool(Write({"--send"}), Path(""));
    EXPECT_THAT(listener.Take("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"),
                testing::StartsWith("GET /reg?RegFirstName=Ada&RegLastName=&RegOrg=&RegEmail= "));
    EXPECT_EQ(tool.Wait(), Prints("sent to http://" + listener.Host() + ": HTTP 200, 0 bytes\n"));
}

TEST_F(SendTest, SendsOnlyWhenAskedAndOnlyWhatCanArrive) {
    Listener listener;
    const std::string to = "http://" + listener.Host() + "/";
    EXPECT_EQ(Run(Write({"--email", "a@b.c", "--to", to})),
              Refuses(2, "details write: --to and --wait go with --send or --dry-run"));
    for (const char* wait : {"x", "-1", "1s", "3601"}) {
        EXPECT_EQ(Run(Write({"--send", "--to", to, std::string("--wait=") + wait})).status, 2);
    }
    for (const char* bad : {"x.org", "file:///a", "http:///a", "http://:80/", "http://x/%4"}) {
        EXPECT_EQ(Run(Write({"--send", "--to", bad})),
                  Refuses(2, "--to: is no http or https address with a host, or has a malformed "
                             "escape"))
            << bad;
    }
    EXPECT_EQ(Run(Write({"--send", "--to", to, "--last-name", "L\xC3\xB6w"})),
              Refuses(1, "\"L\xC3\xB6w\": the framework sends no details that are not ASCII; save "
                         "them without --send"));
    EXPECT_EQ(Read("a.nwc"), before_);
    EXPECT_EQ(Run(Write({"--email", "a@b.c"})), Prints(""));
    EXPECT_FALSE(listener.WasContacted());
    EXPECT_THAT(Run(Write({"--dry-run", "--to", to, "--organisation", "A & B+C"})).err,
                testing::StartsWith("tvtool: \"A & B+C\" arrives as \"A \": \"&\" and \"+\" are "
                                    "lost on the way\n"));
}

TEST_F(SendTest, LeavesStandardOutputToTheFile) {
    const ToolResult refused =
        Run({"details", "write", "-", "--last-name", "L", "--send", "--to", "http://127.0.0.1:1/"},
            before_);
    EXPECT_EQ(refused.status, 6);
    EXPECT_EQ(refused.err, "tvtool: http://127.0.0.1:1: the connection was refused: nothing "
                           "listens there; the details are saved\n");
    EXPECT_EQ(Run({"config", "get", "-", "RegLastName"}, refused.out), Prints("L\n"));

    Listener listener;
    home_.Write("in.nwc", before_);
    BackgroundTool tool({"details", "write", "-", "--send", "--to", "http://" + listener.Host()},
                        Path(""), "in.nwc");
    listener.Take("HTTP/1.1 200 OK\r\n\r\n");
    const ToolResult sent = tool.Wait();
    EXPECT_EQ(sent.err, "tvtool: sent to http://" + listener.Host() + ": HTTP 200, 0 bytes\n");
    EXPECT_EQ(Run({"config", "get", "-", "RegFirstName"}, sent.out), Prints("Ada\n"));
}

TEST_F(SendTest, ShowsProgressOnATerminal) {
    const auto run = [&](const std::optional<std::string>& noColor) {
        const ScopedEnv setting("NO_COLOR", noColor);
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(grantpt(terminal), 0);
        EXPECT_EQ(unlockpt(terminal), 0);
        // Held, so that what was written stays until it is read.
        const int held = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
        const ToolResult result =
            RunWithErrorsTo(ptsname(terminal), Write({"--send", "--to", "http://127.0.0.1:1/"}));
        EXPECT_EQ(result.status, 6);
        char bytes[4096];
        const ssize_t count = read(terminal, bytes, sizeof bytes);
        close(held);
        close(terminal);
        return std::string(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    };
    EXPECT_THAT(run(std::nullopt),
                testing::StartsWith("\r\x1B[KSending to http://127.0.0.1:1 ... 0 "
                                    "s\r\x1B[Ktvtool: http://127.0.0.1:1: "));
    EXPECT_THAT(run("1"), testing::StartsWith("Sending to http://127.0.0.1:1 ...\r\ntvtool: "));
}

}  // namespace
}  // namespace tvtest
