#include "mac/MacThreadedWebReaderManager.h"

#include "mac/MacThread.h"
#include "mac/MacThreadCondition.h"
#include "mac/MacThreadLock.h"
#include "mac/MacThreadedWebReader.h"
#include "text/CFRef.h"

#include <pthread.h>

#include <cstdint>
#include <map>
#include <new>
#include <utility>

MacThreadedWebReaderManager MacThreadedWebReaderManager::sSingleton;

struct MacThreadedWebReaderManager::Shared {
    // The lock is held during a fork, so that the child's map is in order.
    Shared() {
        pthread_atfork([] { Own().lock.Lock(); }, [] { Own().lock.Unlock(); }, AfterForkInChild);
    }

    MacThreadLock lock{false};
    // Under the lock.
    std::map<MacThreadedWebReader*, int32_t> readers;
    // Counts the threads that work for readers.
    MacThreadCondition threads{0};
    // Changes under the mutex of `threads`.
    std::atomic<bool> exiting{false};
};

MacThreadedWebReaderManager::Shared& MacThreadedWebReaderManager::Own() {
    static union Kept {
        Kept() : shared() {}
        ~Kept() {}
        Shared shared;
    } kept;
    return kept.shared;
}

// A reader may have been made before, by another constructor.
MacThreadedWebReaderManager::MacThreadedWebReaderManager() {
    Own();
}

MacThreadedWebReaderManager::~MacThreadedWebReaderManager() {
    Own().threads.Update([](int&) { Own().exiting = true; });
    // A callback that ends the process comes first: that of another reader may wait for it.
    if (MacThreadedWebReader* const own = MacThreadedWebReader::OfThisWorker()) {
        own->AbortRead();
        own->ForgetWorker();
    }
    MacThreadedWebReader* reader = RetainNext(nullptr);
    while (reader != nullptr) {
        reader->AbortRead();
        Release(std::exchange(reader, RetainNext(reader)));
    }
    WaitForThreads();
}

// A callback may end the process. Its own thread is still there then.
void MacThreadedWebReaderManager::WaitForThreads() const {
    const int own = MacThreadedWebReader::OfThisWorker() != nullptr ? 1 : 0;
    Own().threads.WaitUntil([own](int count) { return count <= own; });
}

void MacThreadedWebReaderManager::Add(MacThreadedWebReader* reader) {
    if (reader != nullptr) {
        const MacThreadLockHolder hold(Own().lock);
        Own().readers.try_emplace(reader, 1);
    }
}

void MacThreadedWebReaderManager::Retain(MacThreadedWebReader* reader) {
    const MacThreadLockHolder hold(Own().lock);
    if (const auto found = Own().readers.find(reader); found != Own().readers.end()) {
        ++found->second;
    }
}

int MacThreadedWebReaderManager::Release(MacThreadedWebReader* reader) {
    const MacThread::CancellationOff untilReleased;
    // A worker that ended by an exception leaves the stream. It goes after the lock is free:
    // closing its connection waits while another thread forks, and that thread waits for the lock.
    Tova::CFRef<CFReadStreamRef> stream;
    const MacThreadLockHolder hold(Own().lock);
    const auto found = Own().readers.find(reader);
    if (found != Own().readers.end() && found->second-- <= 1) {
        stream.Reset(std::exchange(reader->stream_, nullptr));
        delete reader;
        Own().readers.erase(found);
    }
    return 0;
}

int MacThreadedWebReaderManager::GetRefCount(const MacThreadedWebReader* reader) const {
    const MacThreadLockHolder hold(Own().lock);
    const auto found = Own().readers.find(const_cast<MacThreadedWebReader*>(reader));
    return found != Own().readers.end() ? found->second : 0;
}

int MacThreadedWebReaderManager::StartThread(void* (*body)(void*), MacThreadedWebReader* reader) {
    bool isExiting = false;
    Own().threads.Update([&](int& count) {
        isExiting = Own().exiting;
        count += isExiting ? 0 : 1;
    });
    if (isExiting) {
        return cExiting;
    }
    const int result = MacThread::Start(body, reader);
    if (result != 0) {
        ThreadHasEnded();
    }
    return result;
}

void MacThreadedWebReaderManager::ThreadHasEnded() {
    Own().threads.Update([](int& count) { --count; });
}

int MacThreadedWebReaderManager::CountThreads() const {
    return Own().threads.State();
}

bool MacThreadedWebReaderManager::IsExiting() const {
    return Own().exiting;
}

// Returns the reader that follows `last` in the map, with a reference, or null at the end.
MacThreadedWebReader* MacThreadedWebReaderManager::RetainNext(MacThreadedWebReader* last) {
    const MacThreadLockHolder hold(Own().lock);
    const auto next = Own().readers.upper_bound(last);
    if (next == Own().readers.end()) {
        return nullptr;
    }
    ++next->second;
    return next->first;
}

// The condition is made anew, because the parent's threads may be waiting in it.
void MacThreadedWebReaderManager::AfterForkInChild() {
    Shared& own = Own();
    new (&own.threads) MacThreadCondition(MacThreadedWebReader::OfThisWorker() != nullptr ? 1 : 0);
    for (const auto& [reader, count] : own.readers) {
        reader->LoseThreads();
    }
    own.lock.Unlock();
}
