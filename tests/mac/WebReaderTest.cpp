// What a reader promises to its callers: results, states, handshake, references.
#include "mac/MacThreadedWebReaderManager.h"
#include "tests/mac/ReaderSession.h"
#include "tests/support/AtUnlock.h"
#include "tests/support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <tuple>

using tvtest::AtUnlock;
using tvtest::Connection;
using tvtest::LoopbackServer;
using tvtest::PlatformString;
using tvtest::ReaderSession;

namespace {

constexpr char cOk[] = "200 OK";

MacThreadedWebReaderManager& manager() {
    return MacThreadedWebReaderManager::sSingleton;
}

void answerHello(Connection& connection) {
    connection.ReadRequest();
    connection.Answer(cOk, "hello");
}

void neverAnswer(Connection& connection) {
    connection.Hold();
}

TEST(WebReader, CountsReferences) {
    MacThreadedWebReader* reader = MacThreadedWebReader::Create();
    const int32_t serial = reader->GetSerialNumber();
    EXPECT_EQ(reader->GetRefCount(), 1);
    reader->Retain();
    manager().Add(reader);
    EXPECT_EQ(reader->GetRefCount(), 2);
    EXPECT_EQ(reader->Release(), 0);
    EXPECT_EQ(reader->GetState(), 0);
    reader->AbortRead();
    EXPECT_EQ(manager().GetRefCount(reader), 1);
    EXPECT_EQ(reader->Release(), 0);
    EXPECT_EQ(manager().GetRefCount(reader), 0);
    // A reader that is gone, and none at all.
    EXPECT_EQ(manager().Release(reader), 0);
    manager().Retain(reader);
    manager().Add(nullptr);
    manager().Retain(nullptr);
    EXPECT_EQ(manager().Release(nullptr), 0);
    EXPECT_EQ(manager().GetRefCount(nullptr), 0);

    MacThreadedWebReader* next = MacThreadedWebReader::Create();
    EXPECT_EQ(next->GetSerialNumber(), serial + 1);
    next->Release();
}

TEST(WebReader, RefusesWhatCannotBeRequested) {
    ReaderSession session;
    MacThreadedWebReader* reader = session.Reader();
    EXPECT_EQ(reader->StartRead(nullptr, nullptr, nullptr, nullptr), -2);
    EXPECT_EQ(reader->GetProgress(), 0);
    // A malformed escape, one cut short, and bytes that are no text.
    for (const char* url : {"http://127.0.0.1/%zz", "http://127.0.0.1/%4", "http://h/%ff%fe"}) {
        EXPECT_EQ(session.Start(url), -3) << url;
        EXPECT_EQ(reader->GetProgress(), 1) << url;
        EXPECT_EQ(reader->GetState(), 0) << url;
        reader->AbortRead();
        EXPECT_EQ(reader->GetProgress(), 1) << url;
    }
    // Nothing of that keeps a later read from working.
    LoopbackServer server(answerHello);
    EXPECT_EQ(session.Fetch(server.Url()), "data,end");
    EXPECT_EQ(session.Body(), "hello");
    EXPECT_EQ(reader->GetState(), 6);
    EXPECT_EQ(reader->GetProgress(), 0);
}

TEST(WebReader, ReportsWhatCannotBeOpenedThroughItsState) {
    ReaderSession session;
    for (const char* url : {"ftp://127.0.0.1/x", "file:///etc/passwd", "https:///path", "http://",
                            "http://:80/", "mailto:a@b.c"}) {
        // Twice: the reader is free again as soon as the call returns.
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(session.Start(url), 0) << url;
            EXPECT_EQ(session.Reader()->GetState(), 7) << url;
            EXPECT_EQ(session.Reader()->GetProgress(), 0) << url;
        }
    }
    session.Reader()->AbortRead();
    EXPECT_EQ(session.Reader()->GetState(), 0);
}

TEST(WebReader, IsBusyUntilAborted) {
    LoopbackServer server(answerHello);
    ReaderSession session;
    ASSERT_EQ(session.Start(server.Url()), 0);
    EXPECT_EQ(session.Reader()->GetProgress(), 5);
    const PlatformString url(server.Url());
    EXPECT_EQ(session.Reader()->StartRead(url.Get(), nullptr, nullptr, nullptr), -1);
    session.WaitForEvents(2);
    // At the end of the data, and still the caller's to stop.
    EXPECT_EQ(session.Reader()->GetState(), 5);
    EXPECT_EQ(session.Reader()->GetProgress(), 5);
    EXPECT_EQ(session.Reader()->StartRead(url.Get(), nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(session.Finish(), "data,end");
    EXPECT_EQ(session.Reader()->GetState(), 6);
    EXPECT_EQ(session.Reader()->GetProgress(), 0);
    EXPECT_EQ(session.Fetch(server.Url()), "data,end");
    EXPECT_EQ(server.Accepted(), 2);
}

TEST(WebReader, AnAbortedReadLeavesItsStateOpen) {
    LoopbackServer server(neverAnswer);
    ReaderSession session;
    ASSERT_EQ(session.Start(server.Url()), 0);
    session.Reader()->AbortRead();
    EXPECT_EQ(session.Reader()->GetState(), 2);
    EXPECT_EQ(session.Reader()->GetProgress(), 0);
    EXPECT_EQ(session.Start(server.Url()), -1);
    EXPECT_EQ(session.Reader()->GetProgress(), 0);
}

TEST(WebReader, ARefusalEndsTheRead) {
    const std::tuple<const char*, const char*, bool, int> cases[] = {
        {"first bytes", "hello", true, 6},
        {"end", "", true, 6},
        {"error", nullptr, true, 7},
        {"no callback, bytes", "hello", false, 6},
        {"no callback, error", nullptr, false, 7},
    };
    for (const auto& [name, body, useCallback, state] : cases) {
        LoopbackServer server([text = body](Connection& connection) {
            connection.ReadRequest();
            if (text != nullptr) {
                connection.Answer(cOk, text);
                connection.Hold();
            }
        });
        std::atomic<int> calls{0};
        MacThreadedWebReader* reader = MacThreadedWebReader::Create();
        const PlatformString url(server.Url());
        MacThreadedWebReader::Callback refuse = [](CFReadStreamRef, unsigned long, void* context) {
            ++*static_cast<std::atomic<int>*>(context);
            return false;
        };
        ASSERT_EQ(reader->StartRead(url.Get(), nullptr, useCallback ? refuse : nullptr, &calls), 0);
        manager().WaitForThreads();
        EXPECT_EQ(reader->GetState(), state) << name;
        EXPECT_EQ(reader->GetProgress(), 0) << name;
        EXPECT_EQ(reader->GetRefCount(), 1) << name;
        EXPECT_EQ(calls, useCallback ? 1 : 0) << name;
        reader->Release();
    }
}

// The terminate thread of a read may be late. It must not end the next one.
TEST(WebReader, ARefusalOfOneReadLeavesTheNextAlone) {
    LoopbackServer server(answerHello);
    ReaderSession session;
    for (int round = 0; round < 200; ++round) {
        session.SetStep([](CFReadStreamRef, unsigned long) { return false; });
        ASSERT_EQ(session.Start(server.Url()), 0);
        session.WaitForEvents(1);
        session.Reader()->AbortRead();
        session.SetStep(nullptr);
        ASSERT_EQ(session.Fetch(server.Url()), "data,end") << round;
    }
}

TEST(WebReader, AbortOnTheWorkersOwnThreadDoesNotWait) {
    LoopbackServer server(answerHello);
    for (const bool goOn : {true, false}) {
        ReaderSession session;
        session.SetStep([&](CFReadStreamRef stream, unsigned long) {
            session.Reader()->AbortRead();
            session.Reader()->AbortRead();
            // The stream is closed, and still there.
            EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusClosed);
            EXPECT_EQ(session.ReadSome(stream), -1);
            return goOn;
        });
        ASSERT_EQ(session.Start(server.Url()), 0);
        session.WaitForEvents(1);
        manager().WaitForThreads();
        EXPECT_EQ(session.Reader()->GetProgress(), 0);
        EXPECT_EQ(session.Reader()->GetRefCount(), 1);
    }
}

TEST(WebReader, EveryOneOfSeveralAbortsReturns) {
    LoopbackServer server(neverAnswer);
    for (int round = 0; round < 50; ++round) {
        ReaderSession session;
        std::vector<std::thread> aborts;
        std::atomic<bool> go{false};
        for (int i = 0; i < 4; ++i) {
            aborts.emplace_back([&] {
                while (!go) {
                    std::this_thread::yield();
                }
                session.Reader()->AbortRead();
            });
        }
        // Some rounds abort before, some during, some after the start.
        go = round % 2 == 0;
        session.Start(server.Url());
        go = true;
        for (std::thread& abort : aborts) {
            abort.join();
        }
        session.Reader()->AbortRead();
        EXPECT_EQ(session.Reader()->GetProgress(), 0);
    }
    manager().WaitForThreads();
}

// The abort looks for a stream while the start stands at some step, and goes on when the read runs.
TEST(WebReader, AnAbortThatOvertakesTheStartLeavesNoStream) {
    LoopbackServer server(neverAnswer);
    int ended = 0;
    for (int step = 1; step <= 8; ++step) {
        ReaderSession session;
        std::promise<void> looked;
        std::promise<void> started;
        std::thread abort;
        const auto overtake = [&] {
            const AtUnlock goOn(2, [&] {
                looked.set_value();
                started.get_future().wait();
            });
            session.Reader()->AbortRead();
        };
        {
            const AtUnlock beginAbort(step, [&] {
                abort = std::thread(overtake);
                looked.get_future().wait();
            });
            ASSERT_EQ(session.Start(server.Url()), 0);
        }
        started.set_value();
        if (abort.joinable()) {
            abort.join();
        }
        if (session.Reader()->GetProgress() == 0) {
            ++ended;
            EXPECT_EQ(session.Reader()->GetState(), 2) << step;
        }
    }
    EXPECT_GE(ended, 2);
}

// The cancellation comes when the caller has promised a worker. It acts when the read runs.
TEST(WebReader, ACancelledCallerFinishesTheHandshake) {
    LoopbackServer server(neverAnswer);
    for (int round = 0; round < 50; ++round) {
        ReaderSession session;
        bool returned = false;
        std::thread caller([&] {
            const AtUnlock cancel(6, [&] {
                EXPECT_EQ(session.Reader()->GetProgress(), 1);
                pthread_cancel(pthread_self());
            });
            session.Start(server.Url());
            returned = true;
            pthread_testcancel();
            ADD_FAILURE() << "not cancelled";
        });
        caller.join();
        ASSERT_TRUE(returned);
        EXPECT_EQ(session.Reader()->GetProgress(), 5);
    }
}

// A callback that is busy with the stream while another thread takes the stream away.
TEST(WebReader, AbortWaitsForTheCallbackAndLeavesItItsStream) {
    LoopbackServer server(answerHello);
    ReaderSession session;
    std::atomic<bool> inside{false};
    std::atomic<bool> returned{false};
    session.SetStep([&](CFReadStreamRef stream, unsigned long) {
        inside = true;
        while (CFReadStreamGetStatus(stream) != kCFStreamStatusClosed) {
            std::this_thread::yield();
        }
        EXPECT_EQ(session.ReadSome(stream), -1);
        returned = true;
        return true;
    });
    ASSERT_EQ(session.Start(server.Url()), 0);
    while (!inside) {
        std::this_thread::yield();
    }
    session.Reader()->AbortRead();
    EXPECT_TRUE(returned);
}

TEST(WebReader, AnExceptionOfTheCallbackEndsTheWorkerOnly) {
    LoopbackServer server(answerHello);
    ReaderSession session;
    session.SetStep([](CFReadStreamRef, unsigned long) -> bool { throw 1; });
    ASSERT_EQ(session.Start(server.Url()), 0);
    manager().WaitForThreads();
    EXPECT_EQ(session.Reader()->GetRefCount(), 1);
    EXPECT_EQ(session.Reader()->GetProgress(), 5);
    session.Reader()->AbortRead();
    EXPECT_EQ(session.Reader()->GetProgress(), 5);
}

TEST(WebReader, ACallbackMayEndItsThread) {
    LoopbackServer server(answerHello);
    ReaderSession session;
    session.SetStep([](CFReadStreamRef, unsigned long) -> bool { pthread_exit(nullptr); });
    ASSERT_EQ(session.Start(server.Url()), 0);
    manager().WaitForThreads();
    EXPECT_EQ(session.Reader()->GetRefCount(), 1);
    session.Reader()->AbortRead();
}

TEST(WebReader, ItsThreadsTakeNoSignals) {
    LoopbackServer server(answerHello);
    ReaderSession session;
    sigset_t mask;
    session.SetStep([&](CFReadStreamRef, unsigned long) {
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        return false;
    });
    ASSERT_EQ(session.Start(server.Url()), 0);
    manager().WaitForThreads();
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE, SIGCHLD, SIGUSR1, SIGALRM}) {
        EXPECT_EQ(sigismember(&mask, signal), 1) << signal;
    }
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGTERM), 0);
}

}  // namespace
