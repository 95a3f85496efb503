// Owns one reference on a platform object. One thread at a time may use a holder.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace Tova {

// The constructor takes over the caller's reference (the "create rule").
template <class T>
class CFRef {
public:
    CFRef() = default;
    explicit CFRef(T adopted) : ref_(adopted) {}
    CFRef(const CFRef&) = delete;
    CFRef& operator=(const CFRef&) = delete;
    CFRef(CFRef&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
    CFRef& operator=(CFRef&& other) noexcept {
        if (this != &other) {
            Reset(std::exchange(other.ref_, nullptr));
        }
        return *this;
    }
    ~CFRef() { Reset(nullptr); }

    // Returns a holder with a new reference to a borrowed object, which may be null.
    static CFRef Retain(T borrowed) {
        if (borrowed != nullptr) {
            CFRetain(borrowed);
        }
        return CFRef(borrowed);
    }

    // Releases the held reference and takes over `adopted`.
    void Reset(T adopted) {
        if (T old = std::exchange(ref_, adopted); old != nullptr) {
            CFRelease(old);
        }
    }

    T Get() const { return ref_; }
    explicit operator bool() const { return ref_ != nullptr; }

private:
    T ref_ = nullptr;
};

}  // namespace Tova
