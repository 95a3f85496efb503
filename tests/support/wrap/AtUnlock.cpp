#include "tests/support/AtUnlock.h"

#include <pthread.h>

#include <utility>

namespace {

thread_local int tLeft = 0;
thread_local std::function<void()> tAction;

}  // namespace

namespace tvtest {

AtUnlock::AtUnlock(int count, std::function<void()> action) {
    tAction = std::move(action);
    tLeft = count;
}

AtUnlock::~AtUnlock() {
    tLeft = 0;
}

}  // namespace tvtest

extern "C" {

int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
// The linker wants it visible, because libraries of the sanitizers call the wrapped function too.
[[gnu::visibility("default")]] int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    const int result = __real_pthread_mutex_unlock(mutex);
    if (tLeft > 0 && --tLeft == 0) {
        tAction();
    }
    return result;
}

}  // extern "C"
