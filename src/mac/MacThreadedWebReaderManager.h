// Owns every web reader of the process. It counts references, destroys a reader with its last one,
// and stops and destroys the readers that are left at exit. Any thread may call anything.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

class MacThreadedWebReader;

class MacThreadedWebReaderManager {
public:
    constexpr MacThreadedWebReaderManager() = default;
    // Runs at process exit. It aborts every reader, waits until all threads of readers are done
    // with them, and destroys the readers. The lock and the map, which is empty then, stay for
    // threads that come later. In a child that was forked after the first use it does nothing,
    // because the threads are not there.
    ~MacThreadedWebReaderManager();
    MacThreadedWebReaderManager(const MacThreadedWebReaderManager&) = delete;
    MacThreadedWebReaderManager& operator=(const MacThreadedWebReaderManager&) = delete;

    // Takes the reader over with a count of 1. It ignores null and a reader that it knows.
    void Add(MacThreadedWebReader* reader);
    // Ignores null and a reader that it does not know, so a reader that was destroyed may be
    // passed.
    void Retain(MacThreadedWebReader* reader);
    // Destroys the reader, under the lock, if this was its last reference. Returns 0.
    int Release(MacThreadedWebReader* reader);
    // Returns 0 for null and a reader that it does not know.
    int GetRefCount(const MacThreadedWebReader* reader) const;

    // Every thread that works for a reader is counted from before it is created until it has
    // released its reader. ThreadHasStarted and ThreadHasEnded are called on the new thread itself,
    // ThreadWillNotStart on the creator of one that could not be made.
    void ThreadWillStart();
    void ThreadWillNotStart();
    void ThreadHasStarted();
    void ThreadHasEnded();
    // Waits until no other thread works for a reader.
    void WaitForThreads() const;
    // Returns true once the destructor has begun. No read begins any more then.
    bool IsExiting() const;

    static MacThreadedWebReaderManager sSingleton;

private:
    using ReaderMap = std::map<MacThreadedWebReader*, int32_t>;

    std::vector<MacThreadedWebReader*> RetainAll();
    void Destroy(const std::vector<MacThreadedWebReader*>& readers);

    struct Shared;
    // Made on first use and never destroyed.
    static Shared& Own();
};
