// Owns every web reader of the process: counts references, destroys a reader with its last one, and
// at exit stops and destroys those that are left. Any thread.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

class MacThreadedWebReader;

class MacThreadedWebReaderManager {
public:
    constexpr MacThreadedWebReaderManager() = default;
    // Runs at process exit: aborts every reader, waits until all threads of readers are done with
    // them, and destroys the readers. The lock and the (then empty) map stay for threads that come
    // later. Does nothing in a child that was forked after the first use: the threads are not
    // there.
    ~MacThreadedWebReaderManager();
    MacThreadedWebReaderManager(const MacThreadedWebReaderManager&) = delete;
    MacThreadedWebReaderManager& operator=(const MacThreadedWebReaderManager&) = delete;

    // Takes the reader over with a count of 1; a known reader and null are ignored.
    void Add(MacThreadedWebReader* reader);
    // An unknown reader and null are ignored: an address that was destroyed may be passed.
    void Retain(MacThreadedWebReader* reader);
    // Destroys the reader, under the lock, when this was its last reference. Returns 0.
    int Release(MacThreadedWebReader* reader);
    // 0 for an unknown reader and null.
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
    // The destructor has begun: no read begins any more.
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
