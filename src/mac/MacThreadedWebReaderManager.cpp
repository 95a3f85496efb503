#include "mac/MacThreadedWebReaderManager.h"

#include "mac/MacThreadCondition.h"
#include "mac/MacThreadLock.h"
#include "mac/MacThreadedWebReader.h"

#include <sys/types.h>
#include <unistd.h>

#include <atomic>

constinit MacThreadedWebReaderManager MacThreadedWebReaderManager::sSingleton;

struct MacThreadedWebReaderManager::Shared {
    MacThreadLock lock{false};
    // Under the lock.
    ReaderMap readers;
    // Counts the threads that work for readers.
    MacThreadCondition threads{0};
    std::atomic<bool> exiting{false};
    const pid_t process = getpid();
};

namespace {

// Marks the threads that are counted. They must not wait for themselves.
thread_local bool tIsCounted = false;

}  // namespace

MacThreadedWebReaderManager::Shared& MacThreadedWebReaderManager::Own() {
    static Shared& shared = *new Shared;
    return shared;
}

MacThreadedWebReaderManager::~MacThreadedWebReaderManager() {
    if (getpid() != Own().process) {
        return;
    }
    Own().exiting = true;
    const std::vector<MacThreadedWebReader*> readers = RetainAll();
    for (MacThreadedWebReader* reader : readers) {
        reader->AbortRead();
    }
    WaitForThreads();
    Destroy(readers);
}

// A callback may end the process. Its own thread is still there then.
void MacThreadedWebReaderManager::WaitForThreads() const {
    const int own = tIsCounted ? 1 : 0;
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
    const MacThreadLockHolder hold(Own().lock);
    const auto found = Own().readers.find(reader);
    if (found != Own().readers.end() && found->second-- <= 1) {
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

void MacThreadedWebReaderManager::ThreadWillStart() {
    Own().threads.Update([](int& count) { ++count; });
}

void MacThreadedWebReaderManager::ThreadWillNotStart() {
    Own().threads.Update([](int& count) { --count; });
}

void MacThreadedWebReaderManager::ThreadHasStarted() {
    tIsCounted = true;
}

void MacThreadedWebReaderManager::ThreadHasEnded() {
    tIsCounted = false;
    ThreadWillNotStart();
}

bool MacThreadedWebReaderManager::IsExiting() const {
    return Own().exiting;
}

// The references keep an abort from destroying a reader while the readers are walked through.
std::vector<MacThreadedWebReader*> MacThreadedWebReaderManager::RetainAll() {
    std::vector<MacThreadedWebReader*> readers;
    const MacThreadLockHolder hold(Own().lock);
    for (auto& [reader, count] : Own().readers) {
        ++count;
        readers.push_back(reader);
    }
    return readers;
}

// A reader stays if a thread is still inside it.
void MacThreadedWebReaderManager::Destroy(const std::vector<MacThreadedWebReader*>& readers) {
    const MacThreadLockHolder hold(Own().lock);
    for (MacThreadedWebReader* reader : readers) {
        const auto found = Own().readers.find(reader);
        if (found != Own().readers.end() && !reader->IsInUse()) {
            delete reader;
            Own().readers.erase(found);
        }
    }
}
