// How the threads of a reader are made, and how a caller's thread is kept from being cancelled.
#pragma once

#include <pthread.h>

namespace MacThread {

// Starts a detached thread in which every signal is blocked from its first instruction. Returns
// what pthread_create does.
int Start(void* (*body)(void*), void* argument);

// Holds back the cancellation of the calling thread for a scope.
class CancellationOff {
public:
    CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~CancellationOff() { pthread_setcancelstate(before_, nullptr); }
    CancellationOff(const CancellationOff&) = delete;
    CancellationOff& operator=(const CancellationOff&) = delete;

private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace MacThread
