#include "mac/MacThread.h"

#include <signal.h>

namespace MacThread {

int CreateWithoutSignals(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                         void* argument) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int result = pthread_create(thread, attributes, body, argument);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return result;
}

}  // namespace MacThread
