// Many reads from several threads, with aborts, releases, restarts and refusals at random moments.
// It ends: that is most of what it shows. The rest is up to the sanitizers.
#include "mac/MacThreadedWebReaderManager.h"
#include "tests/mac/ReaderSession.h"
#include "tests/support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <deque>
#include <random>
#include <thread>

using tvtest::AnswerOf;
using tvtest::LoopbackServer;

namespace {

constexpr int cReads = 1000;
constexpr unsigned cThreads = 4;

using Random = std::minstd_rand;

size_t pick(Random& random, size_t count) {
    return std::uniform_int_distribution<size_t>(0, count - 1)(random);
}

// What one read's callback needs; lives until the test's end.
struct Read {
    MacThreadedWebReader* reader;
    Random random;
};

bool onEvent(CFReadStreamRef stream, unsigned long event, void* context) {
    auto& read = *static_cast<Read*>(context);
    if (event == kCFStreamEventHasBytesAvailable) {
        UInt8 bytes[32768];
        CFReadStreamRead(stream, bytes, sizeof bytes);
    }
    if (pick(read.random, 16) == 0) {
        read.reader->AbortRead();
    }
    // The end stops the worker of a reader that everybody has let go of.
    return event == kCFStreamEventHasBytesAvailable && pick(read.random, 8) != 0;
}

TEST(WebStress, AThousandReadsAtRandom) {
    auto server = std::make_unique<LoopbackServer>(LoopbackServer::Answers{
        {"/small", AnswerOf("200 OK", "small")},
        {"/big", AnswerOf("200 OK", std::string(1000000, 'x'))},
        {"/half", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"},
        {"/redirect", AnswerOf("302 Found\r\nLocation: /small", "")},
    });
    const std::string urls[] = {
        server->Url("/small"),
        server->Url("/big"),
        server->Url("/half"),
        server->Url("/redirect"),
        server->Url("/hold"),
        server->Url("/%zz"),
        "http://",
    };
    std::atomic<int> started{0};
    std::mutex lock;  // For the next two.
    std::array<MacThreadedWebReader*, 24> readers{};
    std::deque<Read> reads;
    const auto step = [&](Random& random) {
        std::unique_lock guard(lock);
        MacThreadedWebReader*& slot = readers[pick(random, readers.size())];
        MacThreadedWebReader* reader = slot != nullptr ? slot : MacThreadedWebReader::Create();
        // Now and then the slot lets go of its reader.
        const bool isKept = pick(random, 16) != 0;
        slot = isKept ? reader : nullptr;
        if (isKept) {
            reader->Retain();
        }
        Read& read = reads.emplace_back(Read{reader, Random(random())});
        guard.unlock();
        if (pick(random, 8) == 0) {
            reader->AbortRead();
        } else {
            const auto url = tvtest::MakeText(urls[pick(random, std::size(urls))]);
            started += reader->StartRead(url.Get(), nullptr, onEvent, &read) == 0 ? 1 : 0;
        }
        reader->Release();
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 74; seed < 74 + cThreads; ++seed) {
        threads.emplace_back([&, seed] {
            for (Random random(seed); started < cReads;) {
                step(random);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (MacThreadedWebReader* reader : readers) {
        MacThreadedWebReaderManager::sSingleton.Release(reader);
    }
    // Readers whose owners are gone end with their connections.
    server.reset();
    MacThreadedWebReaderManager::sSingleton.WaitForThreads();
    for (const Read& read : reads) {
        EXPECT_EQ(MacThreadedWebReaderManager::sSingleton.GetRefCount(read.reader), 0);
    }
}

}  // namespace
