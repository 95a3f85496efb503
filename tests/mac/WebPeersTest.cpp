// Readers against servers of every kind, well-behaved and not.
#include "tests/mac/ReaderSession.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TempHome.h"
#include "tests/support/TlsServer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <tuple>

using tvtest::AnswerOf;
using tvtest::Connection;
using tvtest::LoopbackServer;
using tvtest::ReaderSession;
using tvtest::ScopedEnv;
using tvtest::TlsServer;

namespace {

std::string redirectTo(const std::string& target) {
    return AnswerOf("302 Found\r\nLocation: " + target, "ignored");
}

// Fetches, and returns what came, the status, the body and the error.
std::string fetch(const std::string& url) {
    ReaderSession session;
    const std::string events = session.Fetch(url);
    const auto [domain, error] = session.Last().error;
    const std::tuple<const char*, CFIndex, SInt32> errors[] = {
        {"", 0, 0},
        {" refused", kCFStreamErrorDomainPOSIX, ECONNREFUSED},
        {" reset", kCFStreamErrorDomainPOSIX, ECONNRESET},
        {" loop", kCFStreamErrorDomainHTTP, kCFStreamErrorHTTPRedirectionLoop},
        {" proxy", kCFStreamErrorDomainHTTP, kCFErrorHTTPSProxyConnectionFailure},
        {" no HTTP", kCFStreamErrorDomainHTTP, kCFStreamErrorHTTPParseFailure},
        {" not trusted", kCFStreamErrorDomainSSL, errSSLXCertChainInvalid},
        {" expired", kCFStreamErrorDomainSSL, errSSLCertExpired},
        {" too early", kCFStreamErrorDomainSSL, errSSLCertNotYetValid},
        {" other name", kCFStreamErrorDomainSSL, errSSLHostNameMismatch},
        {" no store", kCFStreamErrorDomainSSL, errSSLBadConfiguration},
        {" no TLS", kCFStreamErrorDomainSSL, errSSLProtocol},
    };
    const char* name = " another error";
    for (const auto& [known, itsDomain, itsError] : errors) {
        name = domain == itsDomain && error == itsError ? known : name;
    }
    EXPECT_EQ(session.Reader()->GetState(), domain == 0 ? 6 : 7) << url;
    return events + " " + std::to_string(session.Last().status) + " " + session.Last().body + name;
}

enum class After { Close, Hold };

TEST(WebPeers, AnswersOfEveryKind) {
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    std::string manyLines = ok;
    for (int i = 0; i < 1024; ++i) {
        manyLines += "X-Line: " + std::string(1014, 'x') + "\r\n";
    }
    const std::tuple<std::string, After, const char*> cases[] = {
        {AnswerOf("200 OK", "hello"), After::Hold, "data,end 200 hello"},
        {ok + "\r\nhello", After::Close, "data,end 200 hello"},
        {AnswerOf("200 OK", ""), After::Hold, "end 200 "},
        {AnswerOf("302 Found\r\nLocation:", ""), After::Hold, "end 302 "},
        {"HTTP/1.1 100 Continue\r\n\r\n" + ok + "Content-Length: 1\r\n\r\nx", After::Hold,
         "data,end 200 x"},
        {"", After::Close, "error 0  reset"},
        {ok + "Content-Length: 100\r\n\r\nhello", After::Close, "data,error 200 hello reset"},
        {"SSH-2.0-OpenSSH_9.2\r\n", After::Hold, "error 0  no HTTP"},
        {manyLines + "\r\n", After::Hold, "error 0  no HTTP"},
    };
    for (const auto& [answer, after, expected] : cases) {
        const LoopbackServer server([text = answer, then = after](Connection& connection) {
            connection.ReadRequest();
            connection.Send(text);
            if (then == After::Hold) {
                connection.Hold();
            }
        });
        EXPECT_EQ(fetch(server.Url()), expected) << answer.substr(0, 100);
        EXPECT_EQ(server.Accepted(), 1);
    }
    const std::string gone = LoopbackServer(LoopbackServer::Answers{}).Url();
    EXPECT_EQ(fetch(gone), "error 0  refused");
}

TEST(WebPeers, TheRequestArrivesByteForByte) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"/a/../b?x=1+2&y=%20z", "Calyx/7.4 (X; y)", "/a/../b?x=1+2&y=%20z"},
        // Escapes are made anew: those that were not needed are gone.
        {"/?a=%26&b=%2b&c=%41", "A\"B\\C%20", "/?a=&&b=+&c=A"},
        {"/?n=J\xc3\xb6rg [x]", "J\xc3\xb6rg", "/?n=J%C3%B6rg%20%5Bx%5D"},
        {"/?e=%25", nullptr, "/?e=%25"},
    };
    for (const auto& [path, agent, sent] : cases) {
        const LoopbackServer server(LoopbackServer::Answers{{sent, AnswerOf("200 OK", "")}});
        ReaderSession session;
        ASSERT_EQ(session.Fetch(server.Url(path), agent), "end") << path;
        EXPECT_EQ(server.Requests().at(0),
                  "GET " + std::string(sent) + " HTTP/1.1\r\nHost: 127.0.0.1:" +
                      std::to_string(server.Port()) + "\r\nAccept: */*\r\n" +
                      (agent != nullptr ? "User-Agent: " + std::string(agent) + "\r\n" : "") +
                      "\r\n");
    }
}

TEST(WebPeers, FollowsTwentyRedirectsInTheWeb) {
    LoopbackServer::Answers answers{
        {"/0", AnswerOf("200 OK", "here")},
        {"/file", redirectTo("file:///etc/hostname")},
    };
    for (int left = 1; left <= 21; ++left) {
        answers["/" + std::to_string(left)] = redirectTo("/" + std::to_string(left - 1));
    }
    const LoopbackServer server(answers);
    const std::tuple<const char*, const char*> cases[] = {
        {"/20", "data,end 200 here"},
        {"/21", "error 0  loop"},
        {"/file", "error 0  no HTTP"},
    };
    for (const auto& [path, expected] : cases) {
        EXPECT_EQ(fetch(server.Url(path)), expected) << path;
    }
}

TEST(WebPeers, TrustsOnlyVerifiedServersAndStaysSecure) {
    const TlsServer secure;
    const TlsServer other("DNS:other.invalid");
    const TlsServer expired("IP:127.0.0.1", "00");
    const TlsServer early("IP:127.0.0.1", "49");
    const LoopbackServer plain({
        {"/up", redirectTo(secure.Url("/again"))},
        {"/up-and-down", redirectTo(secure.Url("/down"))},
        {"/leak", AnswerOf("200 OK", "leak")},
    });
    secure.Serve("ok", AnswerOf("200 OK", "secret"));
    secure.Serve("again", redirectTo(secure.Url("/ok")));
    secure.Serve("down", redirectTo(plain.Url("/leak")));

    EXPECT_EQ(fetch(secure.Url("/ok")), "error 0  not trusted");
    const LoopbackServer bare([](Connection& connection) {
        connection.Send("SSH-2.0-OpenSSH_9.2\r\n");
        connection.Hold();
    });
    for (const auto& [store, url, error] :
         {std::tuple(other.Certificate(), other.Url("/ok"), "other name"),
          {expired.Certificate(), expired.Url("/ok"), "expired"},
          {early.Certificate(), early.Url("/ok"), "too early"},
          {secure.Certificate(), bare.Url("/", "https"), "no TLS"},
          {"none", secure.Url("/ok"), "no store"}}) {
        const ScopedEnv trust("SSL_CERT_FILE", store);
        EXPECT_EQ(fetch(url), std::string("error 0  ") + error);
    }
    const ScopedEnv trust("SSL_CERT_FILE", secure.Certificate());
    EXPECT_EQ(fetch(secure.Url("/again")), "data,end 200 secret");
    EXPECT_EQ(fetch(plain.Url("/up")), "data,end 200 secret");
    EXPECT_EQ(fetch(secure.Url("/down")), "error 0  no HTTP");
    EXPECT_EQ(fetch(plain.Url("/up-and-down")), "error 0  no HTTP");
    EXPECT_EQ(plain.Requests().size(), 2U);

    // A server that was trusted once is verified again.
    const tvtest::TempDir folder;
    const ScopedEnv changing("SSL_CERT_FILE", folder.Path("store"));
    std::filesystem::copy(secure.Certificate(), folder.Path("store"));
    EXPECT_EQ(fetch(secure.Url("/ok")), "data,end 200 secret");
    std::filesystem::copy(other.Certificate(), folder.Path("store"),
                          std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(fetch(secure.Url("/ok")), "error 0  not trusted");
}

TEST(WebPeers, ProxiesComeFromTheEnvironment) {
    const LoopbackServer proxy({
        {"http://host.invalid/x?y=1", AnswerOf("200 OK", "by proxy")},
        {"host.invalid:443", AnswerOf("403 Forbidden", "")},
        {"/x", AnswerOf("200 OK", "direct")},
    });
    const ScopedEnv http("http_proxy", proxy.Url());
    const ScopedEnv https("https_proxy", proxy.Url());
    const ScopedEnv none("no_proxy", "127.0.0.1");
    EXPECT_EQ(fetch("http://host.invalid/x?y=1"), "data,end 200 by proxy");
    EXPECT_EQ(fetch(proxy.Url("/x")), "data,end 200 direct");
    EXPECT_EQ(fetch("https://host.invalid/x"), "error 0  proxy");
    const std::string tunnel = proxy.Requests().at(2);
    EXPECT_TRUE(tunnel.starts_with("CONNECT host.invalid:443 HTTP/1.1\r\n")) << tunnel;
    EXPECT_EQ(tunnel.find("Test/1.0"), std::string::npos) << tunnel;
    const TlsServer secure;
    const ScopedEnv byTls("http_proxy", secure.Url(""));
    EXPECT_EQ(fetch("http://host.invalid/"), "error 0  not trusted");
}

}  // namespace
