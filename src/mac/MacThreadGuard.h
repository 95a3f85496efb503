// What every thread of a reader needs: it takes none of the program's signals, and no exception
// leaves it.
#pragma once

#include <pthread.h>
#include <signal.h>

#include <cxxabi.h>

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

// Runs `body`; false when an exception ended it, which is dropped. Where a thread that is cancelled
// or calls pthread_exit is unwound like by an exception, that one passes; it has no object for the
// reference to bind to, which the sanitizer would report.
template <class Body>
__attribute__((no_sanitize("null"), noinline)) bool DropExceptions(Body body) {
    try {
        body();
        return true;
#if __has_include(<bits/cxxabi_forced.h>)
    } catch (const abi::__forced_unwind&) {
        throw;
#endif
    } catch (...) {
        return false;
    }
}

}  // namespace MacThreadGuard
