// What every thread of a reader needs: it takes none of the program's signals.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace MacThreadGuard {

// pthread_create, with a new thread that has every signal blocked from its first instruction on.
inline int CreateThread(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                        void* argument) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int result = pthread_create(thread, attributes, body, argument);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return result;
}

}  // namespace MacThreadGuard
