// Holds the cancellation of the calling thread back for as long as it lives. Destructors need one
// around close() and the like: a cancellation that unwinds through them ends the process.
#pragma once

#include <pthread.h>

namespace tvposix {

class CancellationGuard {
public:
    CancellationGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~CancellationGuard() { pthread_setcancelstate(before_, nullptr); }
    CancellationGuard(const CancellationGuard&) = delete;
    CancellationGuard& operator=(const CancellationGuard&) = delete;

private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace tvposix
