// An integer that threads wait on. Set wakes one waiter only, so the plain waits are for one
// waiting thread at a time; Update wakes all.
#pragma once

#include "mac/MacThreadLock.h"

#include <sys/time.h>
#include <time.h>

#include <atomic>

class MacThreadCondition {
public:
    explicit MacThreadCondition(int initial);
    ~MacThreadCondition();
    MacThreadCondition(const MacThreadCondition&) = delete;
    MacThreadCondition& operator=(const MacThreadCondition&) = delete;

    void Set(int value);

    // Waits until the state is `value` and returns 0, until the time is over and returns ETIMEDOUT,
    // or until waiting fails and returns another error number (EINVAL if the clock cannot be read).
    // Deliberate: without `untilValue` the call never returns, not even after the time. The class
    // is defined so, and nobody uses it.
    int DoWait(int milliseconds, int value, bool untilValue);
    // Calls DoWait without a value, so it never returns. It would return -1 for EINVAL or
    // ETIMEDOUT, else the state.
    int Wait(int milliseconds);
    // Waits until the state is `value`, without a limit. Returns 0, or the error that ended the
    // wait.
    int WaitTilCondition(int value);

    // Returns the state without taking the lock, so a caller may see an old value for a moment.
    int State() const { return state_; }

    // Runs `change(int& state)` under the mutex, and then wakes every waiter, which finds the mutex
    // free. It serves several waiters, and facts that change together with the state. The caller
    // keeps the condition alive until it returns.
    template <class Change>
    void Update(Change change) {
        {
            const MacThreadLockHolder hold(lock_);
            int state = state_;
            change(state);
            state_ = state;
        }
        pthread_cond_broadcast(&condition_);
    }

    // Waits until `done(int state)`, called under the mutex, is true.
    template <class Done>
    void WaitUntil(Done done) {
        const MacThreadLockHolder hold(lock_);
        while (!done(state_.load())) {
            pthread_cond_wait(&condition_, &lock_.mutex_);
        }
    }

    // Returns the moment `milliseconds` after `now`.
    // Deliberate: it makes only the one carry that positive times need, so a negative rest stays.
    static timespec Deadline(timeval now, int milliseconds);

private:
    std::atomic<int> state_;
    MacThreadLock lock_{false};
    pthread_cond_t condition_;
};
