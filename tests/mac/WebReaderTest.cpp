// What a reader promises to its callers: results, states, handshake, references.
#include "mac/MacThreadedWebReaderManager.h"
#include "tests/mac/ReaderSession.h"
#include "tests/support/AtUnlock.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ThreadCreation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <tuple>
#include <utility>

using tvtest::AnswerOf;
using tvtest::AtUnlock;
using tvtest::LoopbackServer;
using tvtest::MakeText;
using tvtest::ReaderSession;
using tvtest::ThreadCreation;

namespace {

MacThreadedWebReaderManager& manager() {
    return MacThreadedWebReaderManager::sSingleton;
}

// Returns the reader's state, progress and references.
std::string dump(const MacThreadedWebReader& reader) {
    return std::to_string(reader.GetState()) + "/" + std::to_string(reader.GetProgress()) + "/" +
           std::to_string(reader.GetRefCount());
}

// Any other path is never answered.
const LoopbackServer::Answers cAnswers{
    {"/hello", AnswerOf("200 OK", "hello")},
    {"/empty", AnswerOf("200 OK", "")},
    {"/bad", "bad\r\n"},
    {"/big", AnswerOf("200 OK", std::string(100'000, 'x'))},
};

class WebReader : public ::testing::Test {
protected:
    // Starts a read and waits until its worker has ended by itself.
    void Run(const char* path) {
        ASSERT_EQ(session_.Start(server_.Url(path)), 0);
        manager().WaitForThreads();
    }
    MacThreadedWebReader& Reader() const { return *session_.Reader(); }

    LoopbackServer server_{cAnswers};
    const std::string hello_ = server_.Url("/hello");
    ReaderSession session_;
};

TEST_F(WebReader, CountsReferences) {
    MacThreadedWebReader* reader = MacThreadedWebReader::Create();
    EXPECT_EQ(reader->GetSerialNumber(), Reader().GetSerialNumber() + 1);
    reader->Retain();
    manager().Add(reader);
    EXPECT_EQ(dump(*reader), "0/0/2");
    EXPECT_EQ(reader->Release(), 0);
    reader->AbortRead();
    EXPECT_EQ(dump(*reader), "0/0/1");
    EXPECT_EQ(reader->Release(), 0);
    // It is gone.
    manager().Retain(reader);
    EXPECT_EQ(manager().Release(reader), 0);
    EXPECT_EQ(manager().GetRefCount(reader), 0);
}

TEST_F(WebReader, RefusesWhatCannotBeRequested) {
    EXPECT_EQ(Reader().StartRead(nullptr, nullptr, nullptr, nullptr), -2);
    EXPECT_EQ(dump(Reader()), "0/0/1");
    // A malformed escape, bytes that are no text, and what has no place on the web.
    for (const char* url : {"http://127.0.0.1/%zz", "http://h/%ff%fe", "mailto:a@b.c"}) {
        EXPECT_EQ(session_.Start(url), -3) << url;
        Reader().AbortRead();
        EXPECT_EQ(dump(Reader()), "0/1/1") << url;
    }
    // Nothing of that keeps a later read from working.
    EXPECT_EQ(session_.Fetch(hello_), "data,end");
    EXPECT_EQ(session_.Last().body, "hello");
}

TEST_F(WebReader, IsBusyUntilAborted) {
    const auto startAgain = [&] {
        return Reader().StartRead(MakeText(hello_).Get(), nullptr, nullptr, nullptr);
    };
    ASSERT_EQ(session_.Start(hello_), 0);
    EXPECT_EQ(Reader().GetProgress(), 5);
    EXPECT_EQ(startAgain(), -1);
    session_.WaitForEvents(2);
    // At the end of the data, and still the caller's to stop.
    EXPECT_EQ(dump(Reader()), "5/5/2");
    EXPECT_EQ(startAgain(), -1);
    Reader().AbortRead();
    manager().WaitForThreads();
    EXPECT_EQ(dump(Reader()), "6/0/1");
    EXPECT_EQ(session_.Fetch(hello_), "data,end");
    EXPECT_EQ(server_.Accepted(), 2);
    // A read that has brought nothing leaves its state open.
    ReaderSession session;
    ASSERT_EQ(session.Start(server_.Url()), 0);
    session.Reader()->AbortRead();
    EXPECT_EQ(session.Start(server_.Url()), -1);
    manager().WaitForThreads();
    EXPECT_EQ(dump(*session.Reader()), "2/0/1");
}

TEST_F(WebReader, ACallerNeedNotWaitForTheWorker) {
    for (int round = 0; round < 50; ++round) {
        MacThreadedWebReader* reader = MacThreadedWebReader::Create();
        ASSERT_EQ(reader->TryStartRead(MakeText(server_.Url()).Get(), nullptr, nullptr, nullptr),
                  0);
        EXPECT_EQ(reader->GetRefCount(), 2) << "the worker's, whether it has begun or not";
        reader->AbortRead();
        manager().WaitForThreads();
        EXPECT_EQ(reader->GetRefCount(), 1);
        reader->Release();
    }
}

TEST_F(WebReader, ACallbackMayReleaseTheReaderBeforeTheStartReturns) {
    const auto release = [](CFReadStreamRef, unsigned long, void* reader) {
        static_cast<MacThreadedWebReader*>(reader)->Release();
        return false;
    };
    MacThreadedWebReader* reader = MacThreadedWebReader::Create();
    int references = 0;
    ThreadCreation::sAfter = [&] {
        manager().WaitForThreads();
        references = manager().GetRefCount(reader);
    };
    EXPECT_EQ(reader->StartRead(MakeText(server_.Url("/empty")).Get(), nullptr, release, reader),
              0);
    EXPECT_EQ(references, 1) << "the caller's, until the start returns";
    EXPECT_EQ(manager().GetRefCount(reader), 0);
}

// Without a callback every event is refused.
TEST_F(WebReader, ARefusalEndsTheRead) {
    const std::pair<const char*, const char*> cases[] = {
        {"/hello", "6/0/1"}, {"/empty", "6/0/1"}, {"/bad", "7/0/1"}};
    for (const auto& [path, expected] : cases) {
        int calls = 0;
        session_.SetStep([&](CFReadStreamRef) { return ++calls == 0; });
        Run(path);
        EXPECT_EQ(dump(Reader()), expected) << path;
        EXPECT_EQ(calls, 1) << path;
        const auto url = MakeText(server_.Url(path));
        ASSERT_EQ(Reader().StartRead(url.Get(), nullptr, nullptr, nullptr), 0);
        manager().WaitForThreads();
        EXPECT_EQ(dump(Reader()), expected) << path;
    }
}

// The terminate thread of a read may be late. It must not end the next one.
TEST_F(WebReader, ARefusalOfOneReadLeavesTheNextAlone) {
    for (int round = 0; round < 200; ++round) {
        session_.SetStep([](CFReadStreamRef) { return false; });
        ASSERT_EQ(session_.Start(hello_), 0);
        session_.WaitForEvents(1);
        Reader().AbortRead();
        session_.SetStep(nullptr);
        ASSERT_EQ(session_.Fetch(hello_), "data,end") << round;
    }
}

TEST_F(WebReader, AbortOnTheWorkersOwnThreadDoesNotWait) {
    for (const bool goOn : {true, false}) {
        ReaderSession session;
        session.SetStep([&](CFReadStreamRef stream) {
            session.Reader()->AbortRead();
            session.Reader()->AbortRead();
            // The stream is closed, and still there.
            EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusClosed);
            EXPECT_EQ(session.ReadSome(stream), -1);
            return goOn;
        });
        ASSERT_EQ(session.Start(hello_), 0);
        session.WaitForEvents(1);
        manager().WaitForThreads();
        EXPECT_EQ(dump(*session.Reader()), goOn ? "2/0/1" : "6/0/1");
    }
}

// The abort looks for a stream while the start stands at some step, and goes on when the read runs.
TEST_F(WebReader, AnAbortThatOvertakesTheStartLeavesNoStream) {
    int ended = 0;
    for (int step = 1; step <= 8; ++step) {
        ReaderSession session;
        std::promise<void> looked;
        std::promise<void> started;
        std::jthread abort;
        const auto overtake = [&] {
            const AtUnlock goOn(2, [&] {
                looked.set_value();
                started.get_future().wait();
            });
            session.Reader()->AbortRead();
        };
        {
            const AtUnlock beginAbort(step, [&] {
                abort = std::jthread(overtake);
                looked.get_future().wait();
            });
            EXPECT_EQ(session.Start(server_.Url()), 0);
        }
        started.set_value();
        abort = {};
        if (session.Reader()->GetProgress() == 0) {
            ++ended;
            EXPECT_EQ(session.Reader()->GetState(), 2) << step;
        }
    }
    EXPECT_GE(ended, 2);
}

// A cancellation that is due acts after the calls, and ends a wait that has no end.
TEST_F(WebReader, ACancelledCallerLeavesTheReaderInOrder) {
    for (const bool fails : {false, true}) {
        ReaderSession session;
        auto* held = MacThreadedWebReader::Create();
        bool returned = false;
        ThreadCreation::sFails = fails;
        std::thread([&] {
            pthread_cancel(pthread_self());
            session.Start(server_.Url());
            session.Reader()->AbortRead();
            held->Release();
            returned = true;
            pthread_testcancel();
            ADD_FAILURE() << "not cancelled";
        }).join();
        ThreadCreation::sFails = false;
        EXPECT_EQ(returned, !fails);
        EXPECT_EQ(session.Fetch(hello_), fails ? "data,end" : "not started");
        EXPECT_EQ(manager().GetRefCount(held), fails ? 1 : 0);
        manager().Release(fails ? held : nullptr);
    }
}

TEST_F(WebReader, RefusalsShareAThreadAndThreadsTakeNoSignals) {
    ThreadCreation::sMade = 0;
    sigset_t mask{}, own;
    session_.SetStep([&](CFReadStreamRef stream) {
        UInt8 byte = 0;
        CFReadStreamRead(stream, &byte, 1);
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        return false;
    });
    Run("/big");
    EXPECT_EQ(ThreadCreation::sMade, 2);
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE, SIGCHLD, SIGUSR1, SIGALRM}) {
        EXPECT_EQ(sigismember(&mask, signal), 1) << signal;
    }
    EXPECT_EQ(sigismember(&own, SIGTERM), 0);
}

// A callback that is busy with the stream while another thread takes the stream away.
TEST_F(WebReader, AbortWaitsForTheCallbackAndLeavesItItsStream) {
    std::promise<void> inside;
    std::atomic<bool> returned{false};
    session_.SetStep([&](CFReadStreamRef stream) {
        inside.set_value();
        while (CFReadStreamGetStatus(stream) != kCFStreamStatusClosed) {
            std::this_thread::yield();
        }
        EXPECT_EQ(session_.ReadSome(stream), -1);
        returned = true;
        return true;
    });
    ASSERT_EQ(session_.Start(hello_), 0);
    inside.get_future().wait();
    Reader().AbortRead();
    EXPECT_TRUE(returned);
}

TEST_F(WebReader, ACallbackMayThrowOrEndItsThread) {
    const std::tuple<bool, std::string, const char*> cases[] = {
        {true, hello_, "2/5/1"}, {false, hello_, "2/5/1"}, {true, server_.Url("/bad"), "7/5/1"}};
    for (const auto& [isThrown, url, expected] : cases) {
        ReaderSession session;
        session.SetStep([throws = isThrown](CFReadStreamRef) -> bool {
            if (throws) {
                throw 1;
            }
            pthread_exit(nullptr);
        });
        ASSERT_EQ(session.Start(url), 0);
        manager().WaitForThreads();
        session.Reader()->AbortRead();
        EXPECT_EQ(dump(*session.Reader()), expected) << url;
    }
}

}  // namespace
