// Runs an action between two steps of the code under test: right after the calling thread has given
// a mutex back for the Nth time. It works in programs that are linked with
// --wrap=pthread_mutex_unlock.
#pragma once

#include <functional>

namespace tvtest {

// One at a time on a thread. An action that has not run by the end of the object never runs.
class AtUnlock {
public:
    // Counts from 1. The action itself may lock and unlock.
    AtUnlock(int count, std::function<void()> action);
    ~AtUnlock();
    AtUnlock(const AtUnlock&) = delete;
    AtUnlock& operator=(const AtUnlock&) = delete;
};

}  // namespace tvtest
