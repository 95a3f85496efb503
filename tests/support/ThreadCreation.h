// Counts the threads that the code under test makes, or lets none be made. It works in programs
// that are linked with --wrap=pthread_create. std::thread is not concerned.
#pragma once

#include <atomic>
#include <functional>

namespace tvtest {

// Defined beside the wrapped function, so that a program that uses them gets this one and not the
// compiler's own of that name.
struct ThreadCreation {
    static std::atomic<bool> sFails;
    static std::atomic<int> sMade;
    // Called once if it is set, when this thread has made another one.
    static thread_local std::function<void()> sAfter;
};

}  // namespace tvtest
