// Processes that end while a read is under way. Each ends at once and cleanly, whatever the server
// does: a hang, a crash and a sanitizer's report all change its status.
#include "tests/support/LoopbackServer.h"
#include "tests/support/TlsServer.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>

using namespace std::string_literals;
using tvtest::LoopbackServer;
using tvtest::ScopedEnv;

namespace {

constexpr int cDone = 42;
constexpr const char* cWays[] = {
    "return", "exit of a thread", "fork", "no memory", "released", "abort", "many"};

// Returns the exit status, or the number of the signal that ended the child as a negative.
int endOf(const std::string& how, const std::string& when, const std::string& url) {
    const int status = std::system(
        ("exec '" TVTEST_EXIT_CHILD "' '" + how + "' '" + when + "' '" + url + "'").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// The one is silent in the middle; the other, over TLS, has far more to send than is read ahead.
TEST(WebExit, WhileItWaitsForMore) {
    const tvtest::TlsServer secure;
    const ScopedEnv trust("SSL_CERT_FILE", secure.Certificate());
    secure.Serve("big", tvtest::AnswerOf("200 OK", std::string(8'000'000, 'x')));
    const LoopbackServer plain(
        LoopbackServer::Answers{{"/", "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\npart"}});
    // The third waits for a name server.
    for (const std::string& url : {plain.Url(), secure.Url("/big"), "http://stuck.invalid/"s}) {
        for (const char* how : cWays) {
            EXPECT_EQ(endOf(how, "under way", url), cDone) << how << " " << url;
        }
    }
    // The two readers are found in the order of their addresses.
    for (const char* order : {"upwards", "downwards"}) {
        EXPECT_EQ(endOf("aborted by a callback", order, plain.Url()), cDone) << order;
    }
#ifndef __SANITIZE_THREAD__  // It forbids threads in the child of a process with threads.
    EXPECT_EQ(endOf("read in a fork", "under way", plain.Url()), cDone);
#endif
}

// Wherever the exit falls, from the first instruction of the worker to the end of the answer.
TEST(WebExit, AtAnyMoment) {
    const tvtest::TlsServer server;
    const ScopedEnv trust("SSL_CERT_FILE", server.Certificate());
    server.Serve("ok", tvtest::AnswerOf("200 OK", "ok"));
    for (int rounds = 0; rounds < 400'000; rounds += rounds / 3 + 20) {
        EXPECT_EQ(endOf("return", std::to_string(rounds), server.Url("/ok")), cDone) << rounds;
    }
}

TEST(WebExit, WithoutARead) {
    // What sends nothing loads nothing.
    EXPECT_EQ(endOf("idle", "0", ""), cDone);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // Their allocators may be locked in a child.
    EXPECT_EQ(endOf("readers in forks", "0", ""), cDone);
#endif
}

}  // namespace
