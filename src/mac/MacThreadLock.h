// A POSIX mutex. Any thread may use it.
#pragma once

#include <pthread.h>

class MacThreadLock {
public:
    // The thread that holds a recursive lock may take it again. With any other lock that deadlocks.
    explicit MacThreadLock(bool recursive);
    ~MacThreadLock() { pthread_mutex_destroy(&mutex_); }
    MacThreadLock(const MacThreadLock&) = delete;
    MacThreadLock& operator=(const MacThreadLock&) = delete;

    void Lock() { pthread_mutex_lock(&mutex_); }
    void Unlock() { pthread_mutex_unlock(&mutex_); }

private:
    // It waits with the mutex.
    friend class MacThreadCondition;

    pthread_mutex_t mutex_;
};

// Holds a lock for a scope, which a cancelled thread leaves too.
class MacThreadLockHolder {
public:
    explicit MacThreadLockHolder(MacThreadLock& lock) : lock_(lock) { lock_.Lock(); }
    ~MacThreadLockHolder() { lock_.Unlock(); }
    MacThreadLockHolder(const MacThreadLockHolder&) = delete;
    MacThreadLockHolder& operator=(const MacThreadLockHolder&) = delete;

private:
    MacThreadLock& lock_;
};
