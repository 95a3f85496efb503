// Holds one reference on an object and releases it: Ref<CFStringRef>, or Ref<RunLoop*> for a class
// that derives from Object. One thread at a time may use a holder.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <cstddef>
#include <utility>

namespace tvplatform {

template <class T>
class Ref {
public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    // Takes over the reference that a Create or Copy function returned.
    explicit Ref(T adopted) : object_(adopted) {}
    Ref(const Ref& other) : Ref(Share(other.object_)) {}
    template <class U>
    Ref(Ref<U>&& other) noexcept : object_(other.Detach()) {}
    Ref(Ref&& other) noexcept : object_(other.Detach()) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ref() { CFRelease(object_); }

    // A holder with a reference of its own on a borrowed object, which may be null.
    static Ref Share(T borrowed) {
        CFRetain(borrowed);
        return Ref(borrowed);
    }

    T Get() const { return object_; }
    T operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    // Hands the reference over to the caller.
    T Detach() { return std::exchange(object_, nullptr); }

private:
    T object_ = nullptr;
};

}  // namespace tvplatform
