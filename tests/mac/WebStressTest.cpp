// Many reads from several threads, with aborts, releases, restarts and refusals at random moments.
// It ends: that is most of what it shows. The rest is up to the sanitizers.
#include "mac/MacThreadedWebReaderManager.h"
#include "tests/mac/ReaderSession.h"
#include "tests/support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <deque>
#include <filesystem>
#include <iterator>
#include <random>
#include <set>
#include <thread>

using tvtest::Connection;
using tvtest::LoopbackServer;
using tvtest::PlatformString;

namespace {

constexpr int cReads = 1000;
constexpr int cThreads = 4;
constexpr size_t cSlots = 24;

using Random = std::minstd_rand;

int pick(Random& random, int count) {
    return std::uniform_int_distribution<int>(0, count - 1)(random);
}

void serve(Connection& connection) {
    for (std::string request; !(request = connection.ReadRequest()).empty();) {
        const std::string path = tvtest::PathOf(request);
        if (path == "/hold") {
            connection.Hold();
            return;
        }
        if (path == "/reset") {
            connection.Reset();
            return;
        }
        if (path == "/half") {
            connection.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
            connection.Hold();
            return;
        }
        if (path == "/redirect") {
            connection.Answer("302 Found\r\nLocation: /small", "");
        } else {
            connection.Answer("200 OK", path == "/big" ? std::string(1000000, 'x') : "small");
        }
    }
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

class Stress {
public:
    void Run(unsigned seed) {
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < cThreads; ++i) {
            threads.emplace_back([this, seed, i] {
                Random random(seed + i);
                while (started_ < cReads) {
                    Step(random);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (Slot& slot : slots_) {
            Replace(slot, nullptr);
        }
        // Readers whose owners are gone end with their connections.
        server_.reset();
        MacThreadedWebReaderManager::sSingleton.WaitForThreads();
    }

    const std::set<MacThreadedWebReader*>& Readers() const { return readers_; }

private:
    struct Slot {
        std::mutex lock;
        MacThreadedWebReader* reader = nullptr;
    };

    void Replace(Slot& slot, MacThreadedWebReader* next) {
        std::unique_lock guard(slot.lock);
        MacThreadedWebReader* old = std::exchange(slot.reader, next);
        guard.unlock();
        if (old != nullptr) {
            old->Release();
        }
    }

    MacThreadedWebReader* Take(Slot& slot) {
        const std::lock_guard guard(slot.lock);
        if (slot.reader == nullptr) {
            slot.reader = MacThreadedWebReader::Create();
            const std::lock_guard own(lock_);
            readers_.insert(slot.reader);
        }
        slot.reader->Retain();
        return slot.reader;
    }

    void Start(MacThreadedWebReader* reader, Random& random) {
        static const std::string paths[] = {"/small", "/big",      "/hold",
                                            "/half",  "/redirect", "/reset"};
        std::string url = server_->Url(paths[pick(random, std::size(paths))]);
        if (pick(random, 8) == 0) {
            url = pick(random, 2) == 0 ? "http://" : "http://127.0.0.1/%zz";
        }
        Read* read = nullptr;
        {
            const std::lock_guard guard(lock_);
            read = &reads_.emplace_back(Read{reader, Random(random())});
        }
        const PlatformString address(url);
        if (reader->StartRead(address.Get(), nullptr, onEvent, read) == 0) {
            ++started_;
        }
    }

    void Step(Random& random) {
        Slot& slot = slots_[static_cast<size_t>(pick(random, cSlots))];
        MacThreadedWebReader* reader = Take(slot);
        switch (pick(random, 16)) {
        case 0:
        case 1:
            reader->AbortRead();
            break;
        case 2:
            Replace(slot, nullptr);
            break;
        case 3:
            EXPECT_GE(reader->GetRefCount(), 1);
            EXPECT_LE(reader->GetState(), 7);
            break;
        default:
            Start(reader, random);
        }
        reader->Release();
    }

    std::unique_ptr<LoopbackServer> server_ = std::make_unique<LoopbackServer>(serve);
    std::atomic<int> started_{0};
    std::array<Slot, cSlots> slots_;
    std::mutex lock_;
    std::set<MacThreadedWebReader*> readers_;
    std::deque<Read> reads_;
};

size_t threadsOfProcess() {
    return static_cast<size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

TEST(WebStress, AThousandReadsAtRandom) {
    std::thread([] {}).join();  // With its first thread a sanitizer may start one of its own.
    const size_t threadsBefore = threadsOfProcess();
    Stress stress;
    stress.Run(74);
    for (MacThreadedWebReader* reader : stress.Readers()) {
        EXPECT_EQ(MacThreadedWebReaderManager::sSingleton.GetRefCount(reader), 0);
    }
    // Detached threads leave the process a moment after their last word.
    while (threadsOfProcess() > threadsBefore) {
        std::this_thread::yield();
    }
}

}  // namespace
