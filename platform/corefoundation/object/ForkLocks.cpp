#include "corefoundation/object/ForkLocks.h"

#include <pthread.h>

#include <array>

namespace tvplatform {
namespace {

constinit std::array<std::mutex, static_cast<size_t>(ForkLock::cCount)> sLocks;

void lockAll() {
    for (std::mutex& lock : sLocks) {
        lock.lock();
    }
}

void unlockAll() {
    for (std::mutex& lock : sLocks) {
        lock.unlock();
    }
}

// The handlers are registered at load, so before those of libraries that stand on this one.
[[maybe_unused]] const int sForkHandlers = pthread_atfork(lockAll, unlockAll, unlockAll);

}  // namespace

std::mutex& LockOf(ForkLock which) {
    return sLocks[static_cast<size_t>(which)];
}

}  // namespace tvplatform
