// Keeps other processes and threads from changing a preferences file between reading and replacing.
#pragma once

#include <string>

namespace tvplatform {

// A lock on a file beside the one it protects, which is made and then stays. Waiting processes get
// their turn before one that comes back. The lock goes with the object, or with the process.
class PreferencesLock {
public:
    // Waits up to 2 s.
    explicit PreferencesLock(const std::string& path);
    ~PreferencesLock();
    PreferencesLock(const PreferencesLock&) = delete;
    PreferencesLock& operator=(const PreferencesLock&) = delete;

    bool IsHeld() const { return held_; }

private:
    int file_;
    bool held_ = false;
};

}  // namespace tvplatform
