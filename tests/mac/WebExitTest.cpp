// Processes that end while a read is under way. Each ends at once and cleanly, whatever the server
// does: a hang, a crash and a sanitizer's report all change its status.
#include "tests/support/LoopbackServer.h"
#include "tests/support/TlsServer.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <semaphore>

using tvtest::Connection;
using tvtest::LoopbackServer;
using tvtest::ScopedEnv;
using tvtest::TlsServer;

namespace {

constexpr int cDone = 42;

class Child {
public:
    Child(const std::string& how, const std::string& when, const std::string& url) {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
        std::string arguments[] = {TVTEST_EXIT_CHILD, how, when, url, TVTEST_READER_LIBRARY};
        char* pointers[6] = {};
        for (size_t i = 0; i < std::size(arguments); ++i) {
            pointers[i] = arguments[i].data();
        }
        EXPECT_EQ(posix_spawn(&id_, pointers[0], &actions, nullptr, pointers, environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[0]);
        input_ = ends[1];
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { close(input_); }

    // For "input".
    void GoOn() const { EXPECT_EQ(write(input_, "x", 1), 1); }
    // The exit status, or the number of the signal that ended it as a negative.
    int Status() const {
        int status = 0;
        waitpid(id_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t id_ = -1;
    int input_ = -1;
};

const char* const cWays[] = {"return", "_exit",    "quick_exit", "exit of a thread",
                             "fork",   "released", "many",       "abort"};
constexpr char cHeader[] = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\npart";

// The request has arrived and is never answered; over TLS too, where the handshake hangs as well.
TEST(WebExit, WhileTheServerIsSilent) {
    for (const char* scheme : {"http", "https"}) {
        for (const char* how : cWays) {
            std::counting_semaphore<> arrived(0);
            LoopbackServer server([&](Connection& connection) {
                connection.WaitForBytes();
                arrived.release();
                connection.Hold();
            });
            const Child child(how, "input", server.Url("/", scheme));
            arrived.acquire();
            child.GoOn();
            EXPECT_EQ(child.Status(), cDone) << how << " " << scheme;
        }
    }
}

TEST(WebExit, InTheMiddleOfAnAnswer) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(cHeader);
        connection.Hold();
    });
    for (const char* how : cWays) {
        EXPECT_EQ(Child(how, "data", server.Url()).Status(), cDone) << how;
    }
    EXPECT_EQ(Child("exit in the callback", "now", server.Url()).Status(), cDone);
    EXPECT_EQ(Child("exit in an awaited callback", "now", server.Url()).Status(), cDone);
#ifndef __SANITIZE_THREAD__  // It forbids threads in the child of a process with threads.
    EXPECT_EQ(Child("read in a fork", "data", server.Url()).Status(), cDone);
#endif
}

TEST(WebExit, InTheMiddleOfASecureAnswer) {
    const tvtest::TestCertificates certificates;
    const ScopedEnv trust("SSL_CERT_FILE", certificates.AuthorityFile());
    const std::string certificate = certificates.Issue("good", "IP:127.0.0.1", 2);
    for (const char* how : cWays) {
        if (std::string_view(how) == "many") {
            continue;  // That server has one connection at a time.
        }
        for (const bool silent : {true, false}) {
            const TlsServer server(certificate, TlsServer::Kind::Pipe);
            const Child child(how, silent ? "input" : "data", server.Url());
            server.WaitForRequest();
            if (silent) {
                child.GoOn();
            } else {
                server.Say(cHeader);
            }
            EXPECT_EQ(child.Status(), cDone) << how << (silent ? " silent" : "");
        }
    }
}

// Wherever the exit falls, from the first instruction of the worker to the end of the answer.
TEST(WebExit, AtAnyMoment) {
    const tvtest::TestCertificates certificates;
    const ScopedEnv trust("SSL_CERT_FILE", certificates.AuthorityFile());
    const TlsServer server(certificates.Issue("good", "IP:127.0.0.1", 2), TlsServer::Kind::Files);
    server.Serve("ok", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    for (int rounds = 0; rounds < 400'000; rounds += rounds / 3 + 20) {
        EXPECT_EQ(Child("return", std::to_string(rounds), server.Url("/ok")).Status(), cDone)
            << rounds;
    }
}

TEST(WebExit, WhileANameIsLookedUp) {
    for (const char* how : cWays) {
        EXPECT_EQ(Child(how, "lookup", "http://stuck.invalid/").Status(), cDone) << how;
    }
}

TEST(WebExit, AfterItsLibraryWasUnloaded) {
    for (const char* when : {"now", "1000"}) {
        LoopbackServer server([](Connection& connection) { connection.Hold(); });
        EXPECT_EQ(Child("dlclose", when, server.Url()).Status(), cDone);
        // From the library's constructor, with the loader's lock held.
        const ScopedEnv atLoad("TVTEST_URL", server.Url());
        EXPECT_EQ(Child("constructor", when, server.Url()).Status(), cDone);
    }
}

// Not with ThreadSanitizer, whose own thread never ends, so that such a process never does.
#ifndef __SANITIZE_THREAD__
TEST(WebExit, OfTheMainThreadLeavesTheReadToItsEnd) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("200 OK", "hello");
    });
    EXPECT_EQ(Child("end of the main thread", "now", server.Url()).Status(), 0);
    EXPECT_EQ(server.Accepted(), 1);
}
#endif

TEST(WebExit, WithoutAThreadForTheWorker) {
    EXPECT_EQ(Child("no thread", "now", "http://127.0.0.1/").Status(), cDone);
}

TEST(WebExit, AProcessThatSendsNothingLoadsNothing) {
    EXPECT_EQ(Child("idle", "now", "http://127.0.0.1/").Status(), cDone);
}

}  // namespace
