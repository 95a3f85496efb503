// The locks that guard what a process has once. A fork holds them all, so in the child they are
// free and what they guard is whole.
#pragma once

#include <mutex>

namespace tvplatform {

// A thread that takes several takes them in this order. The locks of single objects are not here: a
// child must not use an object that another thread was using at the fork.
enum class ForkLock {
    Preferences,
    SystemEncoding,
    Charsets,
    Converters,
    Constants,
    RunLoops,
    cCount,
};

// Any thread may use it, also before the constructors of static objects have run. A library that
// stands on this one calls pthread_atfork for locks of its own. A fork then takes those first, so
// their holders may call this library.
std::mutex& LockOf(ForkLock which);

}  // namespace tvplatform
