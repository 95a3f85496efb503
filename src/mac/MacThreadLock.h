// A POSIX mutex. Any thread.
#pragma once

#include <pthread.h>

class MacThreadLock {
public:
    // A recursive lock may be taken again by the thread that holds it; any other kind deadlocks.
    explicit MacThreadLock(bool recursive);
    ~MacThreadLock();
    MacThreadLock(const MacThreadLock&) = delete;
    MacThreadLock& operator=(const MacThreadLock&) = delete;

    void Lock();
    void Unlock();

private:
    pthread_mutex_t mutex_;
};

// Holds a lock for a scope.
class MacThreadLockHolder {
public:
    explicit MacThreadLockHolder(MacThreadLock& lock) : lock_(lock) { lock_.Lock(); }
    ~MacThreadLockHolder() { lock_.Unlock(); }
    MacThreadLockHolder(const MacThreadLockHolder&) = delete;
    MacThreadLockHolder& operator=(const MacThreadLockHolder&) = delete;

private:
    MacThreadLock& lock_;
};
