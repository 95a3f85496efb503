// Counts the threads that the code under test makes, or lets none be made. It works in programs
// that are linked with --wrap=pthread_create. std::thread is not concerned.
#pragma once

#include <atomic>

namespace tvtest {

struct ThreadCreation {
    static inline std::atomic<bool> sFails{false};
    static inline std::atomic<int> sMade{0};
    static inline std::atomic<int> sFailed{0};
};

}  // namespace tvtest
