#include "mac/MacThreadCondition.h"

#include <errno.h>

MacThreadCondition::MacThreadCondition(int initial) : state_(initial) {
    pthread_cond_init(&condition_, nullptr);
}

MacThreadCondition::~MacThreadCondition() {
    pthread_cond_destroy(&condition_);
}

void MacThreadCondition::Set(int value) {
    const MacThreadLockHolder hold(lock_);
    state_ = value;
    pthread_cond_signal(&condition_);
}

timespec MacThreadCondition::Deadline(timeval now, int milliseconds) {
    long microseconds = static_cast<long>(now.tv_usec) + (milliseconds % 1000) * 1000L;
    time_t seconds = now.tv_sec + milliseconds / 1000;
    if (microseconds >= 1000000) {
        ++seconds;
        microseconds -= 1000000;
    }
    timespec deadline{};
    deadline.tv_sec = seconds;
    deadline.tv_nsec = microseconds * 1000;
    return deadline;
}

int MacThreadCondition::DoWait(int milliseconds, int value, bool untilValue) {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0) {
        return EINVAL;
    }
    const timespec deadline = Deadline(now, milliseconds);
    const MacThreadLockHolder hold(lock_);
    int result = 0;
    while (!untilValue || (result == 0 && state_ != value)) {
        result = pthread_cond_timedwait(&condition_, &lock_.mutex_, &deadline);
    }
    return result;
}

int MacThreadCondition::Wait(int milliseconds) {
    const int result = DoWait(milliseconds, 0, false);
    return result == EINVAL || result == ETIMEDOUT ? -1 : state_.load();
}

int MacThreadCondition::WaitTilCondition(int value) {
    if (state_ == value) {
        return 0;
    }
    const MacThreadLockHolder hold(lock_);
    int result = 0;
    while (result == 0 && state_ != value) {
        result = pthread_cond_wait(&condition_, &lock_.mutex_);
    }
    return result;
}
