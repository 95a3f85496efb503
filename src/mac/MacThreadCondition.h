// An integer that threads wait on. Set wakes one waiter only, so the plain waits are for one
// waiting thread at a time; Update wakes all.
#pragma once

#include <pthread.h>
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

    // Waits until the state is `value` (0), the time is over (ETIMEDOUT) or waiting fails (another
    // error number; EINVAL for a clock that cannot be read). Without `untilValue` the call never
    // returns: nothing ends that wait, not even the time-out. Kept so; nobody uses it.
    int DoWait(int milliseconds, int value, bool untilValue);
    // DoWait without a value: -1 for EINVAL or ETIMEDOUT, else the state. Never returns either.
    int Wait(int milliseconds);
    // Waits until the state is `value`, however long: 0, or the error that ended the wait.
    int WaitTilCondition(int value);

    // The state, without the lock: an old value may be seen for a moment.
    int State() const { return state_; }

    // Runs `change(int& state)` under the mutex and wakes every waiter: for facts that belong
    // together with the state, and for more than one waiter.
    template <class Change>
    void Update(Change change) {
        const Guard guard(mutex_);
        int state = state_;
        change(state);
        state_ = state;
        pthread_cond_broadcast(&condition_);
    }

    // Waits until `done(int state)`, called under the mutex, is true.
    template <class Done>
    void WaitUntil(Done done) {
        const Guard guard(mutex_);
        while (!done(state_.load())) {
            pthread_cond_wait(&condition_, &mutex_);
        }
    }

    // The moment `milliseconds` after `now`. Negative times are not normalised beyond the one carry
    // that positive ones need.
    static timespec Deadline(timeval now, int milliseconds);

private:
    // Unlocks also when the waiting thread is cancelled.
    class Guard {
    public:
        explicit Guard(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
        ~Guard() { pthread_mutex_unlock(&mutex_); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        pthread_mutex_t& mutex_;
    };

    std::atomic<int> state_;
    pthread_mutex_t mutex_;
    pthread_cond_t condition_;
};
