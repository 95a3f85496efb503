#include "tests/support/LoopbackServer.h"
#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>

namespace tvtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class SendTest : public ToolTest {
protected:
    SendTest() {
        Run("config create a.nwc RegFirstName=Ada");
        before_ = Read("a.nwc");
    }
    // The request that came last, in lines.
    std::string TakeRequest() {
        const std::lock_guard guard(lock_);
        std::erase(request_, '\r');
        return request_.substr(0, request_.find("\n\n") + 1);
    }
    ToolResult WriteDetails(const std::string& more) { return Run("details write a.nwc " + more); }
    void SetRegistryAddress(const std::string& address) {
        Write("machine/Nimbus Works/Nimbus Works Registry", "[CX7]\nProdRegURL=" + address + "\n");
    }

    std::string before_;
    ScopedEnv noProxy_{"no_proxy", "127.0.0.1,localhost"};
    std::mutex lock_;
    std::string request_;
    LoopbackServer server_{[this](Connection& connection) {
        const std::string request = connection.ReadRequest();
        {
            const std::lock_guard guard(lock_);
            request_ = request;
        }
        connection.Send("HTTP/1.1 200 OK\r\n\r\nabc");
    }};
};

TEST_F(SendTest, DryRunIsWhatArrives) {
    const std::string host = server_.Url("").substr(7);
    int sent = 0;
    for (const std::string& to : {
             "http://" + host + "/v/prod_reg",
             "HTTP://LOCALHOST" + host.substr(9) + "?x=%41%2F%25 <",
             "http://us%20er@" + host + "/a/../%C3%A9/",
             "http://us:p%3Aw@" + host,
         }) {
        SCOPED_TRACE(to);
        const std::string details =
            "--organisation 'A=B %41 100%' --email a@b.c --to '" + to + "' ";
        const ToolResult dry = WriteDetails(details + "--dry-run");
        EXPECT_EQ(dry.status, 0);
        EXPECT_THAT(dry.err, testing::MatchesRegex("tvtool: would go to http://[A-Z0-9.]+:[0-9]+; "
                                                   "nothing was saved or sent\n"));
        EXPECT_EQ(server_.Accepted(), sent);
        EXPECT_EQ(Read("a.nwc"), before_);

        EXPECT_THAT(WriteDetails(details + "--send").out,
                    testing::EndsWith(": HTTP 200, 3 bytes\n"));
        EXPECT_EQ(TakeRequest(), dry.out);
        EXPECT_EQ(server_.Accepted(), ++sent);
        EXPECT_NE(Read("a.nwc"), before_);
        Write("a.nwc", before_);
    }
    EXPECT_THAT(WriteDetails("--dry-run --to https://x.org:443/").out,
                HasSubstr("\nHost: x.org\n"));
}

TEST_F(SendTest, GoesWhereTheFrameworkWouldSendTo) {
    const ToolResult nowhere =
        Refuses(1, "details write: there is no address to send to: this build has none, and the "
                   "shared registry names none; give one with --to URL");
    const std::string host = TV_REGISTRATION_HOST;
    if (host.empty()) {
        EXPECT_EQ(WriteDetails("--send --email a@b.c"), nowhere);
    } else {
        EXPECT_THAT(WriteDetails("--dry-run").out, HasSubstr("\nHost: " + host + "\n"));
    }
    SetRegistryAddress("");
    EXPECT_EQ(WriteDetails("--send --email a@b.c"), nowhere);
    SetRegistryAddress("ftp://x.org/");
    EXPECT_EQ(WriteDetails("--send --email a@b.c"),
              Refuses(4, "ProdRegURL of the shared registry: is no http or https address with a "
                         "host, or has a malformed escape"));
    EXPECT_EQ(Read("a.nwc"), before_);

    SetRegistryAddress(server_.Url("/reg"));
    EXPECT_EQ(WriteDetails("--send"),
              Prints("sent to " + server_.Url("") + ": HTTP 200, 3 bytes\n"));
    EXPECT_THAT(TakeRequest(),
                StartsWith("GET /reg?RegFirstName=Ada&RegLastName=&RegOrg=&RegEmail= "));
}

TEST_F(SendTest, SendsOnlyWhenAskedAndOnlyWhatCanArrive) {
    for (const std::string wait : {"x", "-1", "1s", "3601"}) {
        EXPECT_EQ(WriteDetails("--send --to http://x/ --wait=" + wait).status, 2) << wait;
    }
    for (const std::string bad :
         {"x.org", "file:///a", "http:///a", "http://:80/", "http://x/%4"}) {
        EXPECT_EQ(WriteDetails("--send --to " + bad),
                  Refuses(2, "--to: is no http or https address with a host, or has a malformed "
                             "escape"))
            << bad;
    }
    EXPECT_EQ(WriteDetails("--email a@b.c --to " + server_.Url()),
              Refuses(2, "details write: --to and --wait go with --send or --dry-run"));
    EXPECT_EQ(WriteDetails("--last-name L\xC3\xB6w --send --to " + server_.Url()),
              Refuses(1, "\"L\xC3\xB6w\": the framework sends no details that are not ASCII; save "
                         "them without --send"));
    EXPECT_EQ(Read("a.nwc"), before_);
    EXPECT_EQ(WriteDetails("--email a@b.c"), Prints(""));
    EXPECT_EQ(server_.Accepted(), 0);
    EXPECT_THAT(WriteDetails("--dry-run --to http://x/ --organisation 'A & B+C'").err,
                StartsWith("tvtool: \"A & B+C\" arrives as \"A \": \"&\" and \"+\" are lost on the "
                           "way\n"));
}

TEST_F(SendTest, LeavesStandardOutputToTheFile) {
    const ToolResult refused =
        Run("details write - --last-name L --send --to http://127.0.0.1:1/", before_);
    EXPECT_EQ(refused.status, 6);
    EXPECT_EQ(refused.err, "tvtool: http://127.0.0.1:1: the connection was refused: nothing "
                           "listens there; the details are saved\n");
    EXPECT_EQ(Run("config get - RegLastName", refused.out), Prints("L\n"));

    const ToolResult sent = Run("details write - --send --to " + server_.Url(), before_);
    EXPECT_EQ(sent.err, "tvtool: sent to " + server_.Url("") + ": HTTP 200, 3 bytes\n");
    EXPECT_EQ(Run("config get - RegFirstName", sent.out), Prints("Ada\n"));
}

TEST_F(SendTest, ShowsProgressOnATerminal) {
    const auto run = [&](const std::optional<std::string>& noColor) {
        const ScopedEnv setting("NO_COLOR", noColor);
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(grantpt(terminal) + unlockpt(terminal), 0);
        // Held, so that what was written stays until it is read.
        const int held = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
        RunWithErrorsTo(ptsname(terminal), "details write a.nwc --send --to http://127.0.0.1:1/");
        char bytes[4096];
        const ssize_t count = read(terminal, bytes, sizeof bytes);
        close(held);
        close(terminal);
        return std::string(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    };
    EXPECT_THAT(run(std::nullopt), StartsWith("\r\x1B[KSending to http://127.0.0.1:1 ... 0 "
                                              "s\r\x1B[Ktvtool: http://127.0.0.1:1: "));
    EXPECT_THAT(run("1"), StartsWith("Sending to http://127.0.0.1:1 ...\r\ntvtool: "));
}

}  // namespace
}  // namespace tvtest
