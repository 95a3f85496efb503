// Keeps signals and cancellation from the calling thread while it is inside foreign libraries. So
// threads that they start take no signal of the program's either, and nothing leaves them half-way.
// Swallows a SIGPIPE that writing to a closed connection raised meanwhile.
#pragma once

#include "posix/CancellationGuard.h"

#include <pthread.h>
#include <signal.h>
#include <time.h>

namespace tvplatform {

class SignalGuard {
public:
    SignalGuard() : pipeWasPending_(PipeIsPending()) {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalGuard() {
        if (!pipeWasPending_ && sigismember(&before_, SIGPIPE) == 0 && PipeIsPending()) {
            sigset_t pipeOnly;
            sigemptyset(&pipeOnly);
            sigaddset(&pipeOnly, SIGPIPE);
            const timespec noWait{};
            sigtimedwait(&pipeOnly, nullptr, &noWait);
        }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

private:
    static bool PipeIsPending() {
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        return sigismember(&pending, SIGPIPE) != 0;
    }

    const tvposix::CancellationGuard cancellation_;
    sigset_t before_;
    const bool pipeWasPending_;
};

}  // namespace tvplatform
