// Keeps other processes and threads from changing a preferences file between reading and replacing.
#pragma once

#include "posix/Descriptor.h"

#include <chrono>
#include <string>

namespace tvplatform {

// A lock on a file beside the one that it protects. The lock file is made if it is missing, and
// then stays. Up to sixteen that want it get it in the order in which they came. The lock ends with
// the object, or with the process.
class PreferencesLock {
public:
    // Waits until the deadline. The lock file has this name in the folder.
    PreferencesLock(const tvposix::Descriptor& folder, const std::string& name,
                    std::chrono::steady_clock::time_point deadline);
    ~PreferencesLock();
    PreferencesLock(const PreferencesLock&) = delete;
    PreferencesLock& operator=(const PreferencesLock&) = delete;

    // Returns 0 if the lock is held, else an error number: EAGAIN if others kept it.
    int Error() const { return error_; }

private:
    tvposix::Descriptor file_;
    int error_ = 0;
};

}  // namespace tvplatform
