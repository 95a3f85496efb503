#include "mac/MacThread.h"

#include <signal.h>

namespace MacThread {

int Start(void* (*body)(void*), void* argument) {
    pthread_attr_t attributes;
    if (const int error = pthread_attr_init(&attributes); error != 0) {
        return error;
    }
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    const int result = pthread_create(&thread, &attributes, body, argument);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return result;
}

}  // namespace MacThread
