#include "tests/support/ThreadCreation.h"

#include <pthread.h>

#include <cerrno>
#include <utility>

using tvtest::ThreadCreation;

std::atomic<bool> ThreadCreation::sFails{false};
std::atomic<int> ThreadCreation::sMade{0};
thread_local std::function<void()> ThreadCreation::sAfter;

extern "C" {

decltype(pthread_create) __real_pthread_create;
// The linker wants it visible, because libraries of the sanitizers call the wrapped function too.
[[gnu::visibility("default")]] decltype(pthread_create) __wrap_pthread_create;

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument) noexcept {
    if (ThreadCreation::sFails) {
        return EAGAIN;
    }
    ++ThreadCreation::sMade;
    const int result = __real_pthread_create(thread, attributes, body, argument);
    if (const auto after = std::exchange(ThreadCreation::sAfter, nullptr)) {
        after();
    }
    return result;
}

}  // extern "C"
