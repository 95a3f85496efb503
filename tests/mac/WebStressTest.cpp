// Many reads from several threads, with aborts, releases, restarts and refusals at random moments.
// It ends: that is most of what it shows. The rest is up to the sanitizers.
#include "mac/MacThreadedWebReaderManager.h"
#include "tests/mac/ReaderSession.h"
#include "tests/support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
#include <thread>

using tvtest::AnswerOf;
using tvtest::LoopbackServer;

namespace {

// Returns a number below `count`.
size_t pick(size_t count) {
    static std::atomic<unsigned> seed{74};
    return std::mt19937(seed.fetch_add(1, std::memory_order_relaxed))() % count;
}

bool onEvent(CFReadStreamRef stream, unsigned long event, void* reader) {
    if (event == kCFStreamEventHasBytesAvailable) {
        UInt8 bytes[32768];
        CFReadStreamRead(stream, bytes, sizeof bytes);
    }
    if (pick(16) == 0) {
        static_cast<MacThreadedWebReader*>(reader)->AbortRead();
    }
    // The end stops the worker of a reader that everybody has let go of.
    return event == kCFStreamEventHasBytesAvailable && pick(8) != 0;
}

TEST(WebStress, AThousandReadsAtRandom) {
    auto& manager = MacThreadedWebReaderManager::sSingleton;
    auto server = std::make_unique<LoopbackServer>(LoopbackServer::Answers{
        {"/small", AnswerOf("200 OK", "small")},
        {"/big", AnswerOf("200 OK", std::string(1000000, 'x'))},
        {"/half", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"},
        {"/redirect", AnswerOf("302 Found\r\nLocation: /small", "")},
    });
    const char* paths[] = {"/small", "/big", "/half", "/redirect", "/hold", "/%zz"};
    std::atomic<int> started{0};
    std::mutex lock;  // For the next two.
    std::array<MacThreadedWebReader*, 24> slots{};
    std::vector<MacThreadedWebReader*> readers;
    const auto step = [&] {
        std::unique_lock guard(lock);
        MacThreadedWebReader*& slot = slots[pick(slots.size())];
        MacThreadedWebReader* reader = slot;
        if (reader == nullptr) {
            reader = readers.emplace_back(MacThreadedWebReader::Create());
        }
        // Now and then the slot lets go of its reader.
        slot = pick(16) != 0 ? reader : nullptr;
        manager.Retain(slot);
        guard.unlock();
        if (pick(8) == 0) {
            reader->AbortRead();
        } else {
            const auto url = tvtest::MakeText(server->Url(paths[pick(std::size(paths))]));
            started += reader->StartRead(url.Get(), nullptr, onEvent, reader) == 0 ? 1 : 0;
        }
        reader->Release();
    };
    const auto run = [&] {
        while (started < 1000) {
            step();
        }
    };
    { const std::jthread a(run), b(run), c(run), d(run); }
    for (MacThreadedWebReader* reader : slots) {
        manager.Release(reader);
    }
    // Readers whose owners are gone end with their connections.
    server.reset();
    manager.WaitForThreads();
    for (const MacThreadedWebReader* reader : readers) {
        EXPECT_EQ(manager.GetRefCount(reader), 0);
    }
}

}  // namespace
