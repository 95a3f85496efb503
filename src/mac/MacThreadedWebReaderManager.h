// Owns every web reader of the process. It counts references, destroys a reader with its last one,
// and ends the reads that are under way at exit. Any thread may call anything, also in a forked
// child.
#pragma once

class MacThreadedWebReader;

class MacThreadedWebReaderManager {
public:
    MacThreadedWebReaderManager();
    // Runs at process exit and takes no memory. It aborts every reader and waits until all threads
    // of readers are done with them. A reader that a caller has not released stays, because the
    // caller's thread may still use it. So do the lock and the map.
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

    // Starts a thread that works for a reader. The thread counts until it calls ThreadHasEnded,
    // as its last act for the reader. Returns 0, the error number of pthread_create, or
    // cExiting.
    int StartThread(void* (*body)(void*), MacThreadedWebReader* reader);
    void ThreadHasEnded();
    int CountThreads() const;
    // Waits until no other thread works for a reader.
    void WaitForThreads() const;
    // Returns true once the destructor has begun. No read and no thread begins any more then.
    bool IsExiting() const;

    static constexpr int cExiting = -1;
    static MacThreadedWebReaderManager sSingleton;

private:
    MacThreadedWebReader* RetainNext(MacThreadedWebReader* last);
    static void AfterForkInChild();

    struct Shared;
    // Never destroyed, and not on the heap.
    static Shared& Own();
};
