// Readers against servers of every kind, well-behaved and not.
#include "tests/mac/ReaderSession.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TempHome.h"
#include "tests/support/TlsServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <semaphore>
#include <tuple>

using tvtest::Connection;
using tvtest::HeaderOf;
using tvtest::LoopbackServer;
using tvtest::PathOf;
using tvtest::ReaderSession;
using tvtest::ScopedEnv;
using tvtest::TlsServer;

namespace {

const std::string cMegabyte(size_t{1} << 20, 'x');

enum class After { Close, Reset, Hold };

// One answer, byte for byte, and what the reader makes of it.
struct Peer {
    const char* name;
    std::string answer;
    After after;
    const char* events;
    int status;
    std::string body;
    CFStreamError error;
};

constexpr CFStreamError cNone{0, 0};
constexpr CFStreamError cReset{kCFStreamErrorDomainPOSIX, ECONNRESET};
// Some error, which one depends on the HTTP library's version.
constexpr CFStreamError cSome{-1, 0};
constexpr CFStreamError cParse{kCFStreamErrorDomainHTTP, kCFStreamErrorHTTPParseFailure};

std::vector<Peer> peers() {
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    std::string manyLines = ok;
    for (int i = 0; i < 1024; ++i) {
        manyLines += "X-Line: " + std::string(1014, 'x') + "\r\n";
    }
    std::string interim;
    for (int i = 0; i < 40000; ++i) {
        interim += "HTTP/1.1 100 Continue\r\n\r\n";
    }
    return {
        {"plain", ok + "Content-Length: 5\r\n\r\nhello", After::Hold, "data,end", 200, "hello",
         cNone},
        {"until the end", ok + "\r\nhello", After::Close, "data,end", 200, "hello", cNone},
        {"chunked", chunked + "5\r\nhello\r\n6;x=y\r\n world\r\n0\r\nT: t\r\n\r\n", After::Hold,
         "data,end", 200, "hello world", cNone},
        {"empty", ok + "Content-Length: 0\r\n\r\n", After::Hold, "end", 200, "", cNone},
        {"no content", "HTTP/1.1 204 No Content\r\n\r\n", After::Hold, "end", 204, "", cNone},
        {"not found", "HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\nno", After::Hold,
         "data,end", 404, "no", cNone},
        {"broken server", "HTTP/1.1 500 Oops\r\nContent-Length: 2\r\n\r\nno", After::Hold,
         "data,end", 500, "no", cNone},
        {"redirect to nowhere", "HTTP/1.1 302 Found\r\nLocation:\r\nContent-Length: 0\r\n\r\n",
         After::Hold, "end", 302, "", cNone},
        {"continue first", "HTTP/1.1 100 Continue\r\n\r\n" + ok + "Content-Length: 1\r\n\r\nx",
         After::Hold, "data,end", 200, "x", cNone},
        {"older version", "HTTP/1.0 200 OK\r\n\r\nx", After::Close, "data,end", 200, "x", cNone},

        {"nothing", "", After::Close, "error", 0, "", cReset},
        {"reset before the header", "", After::Reset, "error", 0, "", cReset},
        {"reset inside the header", ok + "X-Hal", After::Reset, "error", 0, "", cReset},
        {"closed inside the header", ok + "X-Hal", After::Close, "error", 0, "", cReset},
        {"closed inside the body", ok + "Content-Length: 100\r\n\r\nhello", After::Close,
         "data,error", 200, "hello", cReset},
        {"closed between chunks", chunked + "5\r\nhello\r\n", After::Close, "data,error", 200,
         "hello", cReset},
        {"chunks without a size", chunked + "what\r\n", After::Hold, "error", 200, "", cReset},
        {"negative length", ok + "Content-Length: -5\r\n\r\nhello", After::Hold, "error", 0, "",
         cParse},
        {"another protocol", "SSH-2.0-OpenSSH_9.2\r\n", After::Hold, "error", 0, "", cParse},
        {"bytes", std::string("\0\1\2\3\xff\xfe\n", 7), After::Close, "error", 0, "", cParse},
        {"page without a header", "<html></html>", After::Close, "error", 0, "", cParse},
        {"version of the future", "HTTP/9.9 200 OK\r\n\r\n", After::Hold, "error", 0, "", cParse},
        {"a megabyte of header lines", manyLines + "\r\n", After::Hold, "error", 0, "", cParse},
        {"a header line of a megabyte", ok + "X: " + cMegabyte + "\r\n\r\n", After::Hold, "error",
         0, "", cSome},
        {"continue for ever", interim, After::Hold, "error", 0, "", cParse},
    };
}

TEST(WebPeers, AnswersOfEveryKind) {
    for (const Peer& peer : peers()) {
        SCOPED_TRACE(peer.name);
        LoopbackServer server([&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(peer.answer);
            if (peer.after == After::Hold) {
                connection.Hold();
            } else if (peer.after == After::Reset) {
                connection.Reset();
            }
        });
        ReaderSession session;
        EXPECT_EQ(session.Fetch(server.Url()), peer.events);
        EXPECT_EQ(session.Status(), peer.status);
        EXPECT_EQ(session.Body(), peer.body);
        if (peer.error.domain != cSome.domain) {
            EXPECT_EQ(session.Error().domain, peer.error.domain);
            EXPECT_EQ(session.Error().error, peer.error.error);
        }
        EXPECT_EQ(session.Reader()->GetState(), peer.error.domain == 0 ? 6 : 7);
        EXPECT_EQ(server.Accepted(), 1);
    }
}

TEST(WebPeers, TheRequestArrivesByteForByte) {
    std::string request;
    LoopbackServer server([&](Connection& connection) {
        request = connection.ReadRequest();
        connection.Answer("200 OK", "");
    });
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"/a/../b?x=1+2&y=%20z", "Calyx/7.4 (X; y)", "/a/../b?x=1+2&y=%20z", "Calyx/7.4 (X; y)"},
        // Escapes are made anew: those that were not needed are gone.
        {"/?a=%26&b=%2b&c=%41", "A\"B\\C%20", "/?a=&&b=+&c=A", "A\"B\\C%20"},
        {"/?n=J\xc3\xb6rg [x]", "J\xc3\xb6rg", "/?n=J%C3%B6rg%20%5Bx%5D", "J\xc3\xb6rg"},
        {"/?e=%25", nullptr, "/?e=%25", "(none)"},
        {"/", "a\r\nX-Injected: yes", "/", "(none)"},
        {"/", "tab\there", "/", "(none)"},
    };
    for (const auto& [path, agent, sentPath, sentAgent] : cases) {
        ReaderSession session;
        ASSERT_EQ(session.Fetch(server.Url(path), agent), "end") << path;
        EXPECT_EQ(request.substr(0, request.find("\r\n")),
                  "GET " + std::string(sentPath) + " HTTP/1.1");
        EXPECT_EQ(HeaderOf(request, "User-Agent"), sentAgent);
        EXPECT_EQ(HeaderOf(request, "Host"), "127.0.0.1:" + std::to_string(server.Port()));
        EXPECT_EQ(HeaderOf(request, "Cookie"), "(none)");
        EXPECT_EQ(request.find("X-Injected"), std::string::npos);
    }
}

TEST(WebPeers, FollowsRedirects) {
    LoopbackServer other([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("200 OK", "elsewhere");
    });
    std::vector<std::string> paths;
    LoopbackServer server([&](Connection& connection) {
        for (std::string request; !(request = connection.ReadRequest()).empty();) {
            const std::string path = PathOf(request);
            paths.push_back(path);
            if (path == "/here") {
                connection.Answer("200 OK", "here");
            } else if (path.starts_with("/to/")) {
                connection.Answer(path.substr(4, 3) + " Moved\r\nLocation: /here", "ignored");
            } else if (path == "/a/relative") {
                connection.Answer("302 Found\r\nLocation: ../here", "ignored");
            } else if (path == "/port") {
                connection.Answer("302 Found\r\nLocation: " + other.Url("/"), "");
            } else {  // A number: as many redirects to come.
                const int left = std::stoi(path.substr(1));
                connection.Answer("302 Found\r\nLocation: " +
                                      (left > 1 ? "/" + std::to_string(left - 1) : "/here"),
                                  "");
            }
        }
    });
    const std::tuple<const char*, const char*, const char*, size_t> cases[] = {
        {"/to/301", "data,end", "here", 2},
        {"/to/302", "data,end", "here", 2},
        {"/to/303", "data,end", "here", 2},
        {"/to/307", "data,end", "here", 2},
        {"/to/308", "data,end", "here", 2},
        {"/a/relative", "data,end", "here", 2},
        {"/port", "data,end", "elsewhere", 1},
        {"/20", "data,end", "here", 21},
        {"/21", "error", "", 21},
    };
    for (const auto& [path, events, body, requests] : cases) {
        paths.clear();
        ReaderSession session;
        EXPECT_EQ(session.Fetch(server.Url(path)), events) << path;
        EXPECT_EQ(session.Body(), body) << path;
        EXPECT_EQ(paths.size(), requests) << path;
        EXPECT_EQ(session.Error().error, *body == '\0' ? kCFStreamErrorHTTPRedirectionLoop : 0);
    }
}

TEST(WebPeers, FollowsNoRedirectOutOfTheWeb) {
    for (const char* target : {"file:///etc/hostname", "ftp://127.0.0.1/x", "FILE:///etc/hostname",
                               "gopher://127.0.0.1/x", "data:,x", "javascript:x"}) {
        LoopbackServer server([&](Connection& connection) {
            connection.ReadRequest();
            connection.Answer("302 Found\r\nLocation: " + std::string(target), "");
        });
        ReaderSession session;
        EXPECT_EQ(session.Fetch(server.Url()), "error") << target;
        EXPECT_EQ(session.Body(), "") << target;
        EXPECT_EQ(session.Reader()->GetState(), 7) << target;
    }
}

TEST(WebPeers, ARefusedConnectionIsAnErrorAtOnce) {
    ReaderSession session;
    EXPECT_EQ(session.Fetch("http://127.0.0.1:" + std::to_string(tvtest::ClosedPort()) + "/"),
              "error");
    EXPECT_EQ(session.Error().domain, kCFStreamErrorDomainPOSIX);
    EXPECT_EQ(session.Error().error, ECONNREFUSED);
}

// A trickle does not keep an abort waiting.
TEST(WebPeers, AbortsATricklingServer) {
    // The next byte goes out when the last one was read.
    std::counting_semaphore<> next(0);
    std::atomic<bool> aborting{false};
    std::atomic<bool> over{false};
    LoopbackServer trickle([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.1 200 OK\r\n\r\n");
        while (!over && connection.Send("x")) {
            next.acquire();
        }
    });
    ReaderSession session;
    session.SetStep([&](CFReadStreamRef stream, unsigned long) {
        const CFIndex count = session.ReadSome(stream);
        EXPECT_TRUE(count == 1 || aborting) << count;
        next.release();
        return true;
    });
    ASSERT_EQ(session.Start(trickle.Url()), 0);
    session.WaitForEvents(5);
    aborting = true;
    session.Reader()->AbortRead();
    EXPECT_EQ(session.Reader()->GetProgress(), 0);
    over = true;
    next.release();
}

TEST(WebPeers, TrustsOnlyVerifiedServers) {
    const tvtest::TestCertificates certificates;
    const std::string here = "IP:127.0.0.1,DNS:localhost";
    const std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nsecret";
    const std::tuple<const char*, std::string, bool, bool> cases[] = {
        {"trusted", certificates.Issue("good", here, 2), true, true},
        {"expired", certificates.Issue("expired", here, -1), true, false},
        {"other name", certificates.Issue("other", "DNS:other.invalid", 2), true, false},
        {"self-signed", certificates.SelfSign("self", here), true, false},
        {"unknown authority", certificates.Issue("unknown", here, 2), false, false},
    };
    for (const auto& [name, certificate, authorityKnown, good] : cases) {
        SCOPED_TRACE(name);
        const ScopedEnv trust("SSL_CERT_FILE", authorityKnown
                                                   ? std::optional(certificates.AuthorityFile())
                                                   : std::nullopt);
        const TlsServer server(certificate, TlsServer::Kind::Files);
        server.Serve("ok", answer);
        ReaderSession session;
        EXPECT_EQ(session.Fetch(server.Url("/ok")), good ? "data,end" : "error");
        EXPECT_EQ(session.Body(), good ? "secret" : "");
        EXPECT_EQ(session.Error().domain, good ? 0 : kCFStreamErrorDomainSSL);
    }
}

// Plain to secure and on is fine; once secure, nothing leads back.
TEST(WebPeers, LeavesHttpsForNothing) {
    const tvtest::TestCertificates certificates;
    const ScopedEnv trust("SSL_CERT_FILE", certificates.AuthorityFile());
    const TlsServer secure(certificates.Issue("good", "IP:127.0.0.1", 2), TlsServer::Kind::Files);
    std::string target;
    LoopbackServer plain([&](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("302 Found\r\nLocation: " + target, "");
    });
    const auto redirect = [](const std::string& to) {
        return "HTTP/1.1 302 Found\r\nLocation: " + to + "\r\nContent-Length: 0\r\n\r\n";
    };
    secure.Serve("ok", "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nsecret");
    secure.Serve("again", redirect(secure.Url("/ok")));
    secure.Serve("down", redirect(plain.Url("/leak")));

    ReaderSession session;
    EXPECT_EQ(session.Fetch(secure.Url("/again")), "data,end");
    EXPECT_EQ(session.Fetch(secure.Url("/down")), "error");
    EXPECT_EQ(plain.Accepted(), 0);
    target = secure.Url("/again");
    EXPECT_EQ(session.Fetch(plain.Url("/up")), "data,end");
    EXPECT_EQ(session.Body(), "secret");
    target = secure.Url("/down");
    EXPECT_EQ(session.Fetch(plain.Url("/up-and-down")), "error");
    target += "\r\nHTTP/1.1: looks like the first line of an answer";
    EXPECT_EQ(session.Fetch(plain.Url("/up-and-down")), "error");
    EXPECT_EQ(plain.Accepted(), 3);
}

TEST(WebPeers, ProxiesComeFromTheEnvironment) {
    std::vector<std::string> lines;
    LoopbackServer proxy([&](Connection& connection) {
        const std::string request = connection.ReadRequest();
        lines.push_back(request.substr(0, request.find("\r\n")));
        const bool tunnel = request.starts_with("CONNECT");
        EXPECT_EQ(HeaderOf(request, "User-Agent"), tunnel ? "(none)" : "Test/1.0");
        connection.Answer(tunnel ? "403 Forbidden" : "200 OK", "by proxy");
    });
    LoopbackServer direct([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("200 OK", "direct");
    });
    const ScopedEnv http("http_proxy", proxy.Url());
    const ScopedEnv https("https_proxy", proxy.Url());
    const ScopedEnv none("no_proxy", "127.0.0.1");
    ReaderSession session;
    EXPECT_EQ(session.Fetch("http://host.invalid/x?y=1"), "data,end");
    EXPECT_EQ(session.Body(), "by proxy");
    EXPECT_EQ(session.Fetch("https://host.invalid/x"), "error");
    EXPECT_EQ(session.Fetch(direct.Url()), "data,end");
    EXPECT_EQ(session.Body(), "direct");
    EXPECT_EQ(lines, (std::vector<std::string>{"GET http://host.invalid/x?y=1 HTTP/1.1",
                                               "CONNECT host.invalid:443 HTTP/1.1"}));
}

}  // namespace
