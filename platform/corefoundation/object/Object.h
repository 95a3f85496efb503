// The base of every object of the platform layer: a type, a count, equality. Any thread may retain
// and release an object. One thread at a time may do anything else, unless a class says otherwise.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <atomic>
#include <string>

namespace tvplatform {

enum class TypeId : CFTypeID {
    Unknown = 0,
    Allocator,
    String,
    Number,
    Boolean_,
    Array,
    Data,
    Dictionary,
    Url,
    RunLoop,
    RunLoopSource,
    ReadStream,
    HttpMessage,
};

class Object {
public:
    // The maker holds the first reference. An immortal object is not counted and never deleted.
    constexpr explicit Object(TypeId type, bool immortal = false)
        : type_(type), immortal_(immortal) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    TypeId Type() const { return type_; }
    void Retain() const;
    // Deletes the object if this was the last reference. The recursion has a bound, however deeply
    // objects are nested.
    void Release() const;
    CFIndex Count() const;

    // `other` must have the same type. Compares identity unless a class overrides it.
    virtual bool Equal(const Object& other) const { return this == &other; }
    virtual CFHashCode Hash() const;
    // A text for people. It is a word for the type unless a class overrides it.
    virtual std::u16string Description() const;

private:
    const TypeId type_;
    const bool immortal_;
    mutable std::atomic<CFIndex> count_{1};
    mutable const Object* nextDoomed_ = nullptr;
};

// Counts how deep the calls of a function are nested on this thread.
class DepthCount {
public:
    explicit DepthCount(int& depth) : depth_(depth) { ++depth_; }
    ~DepthCount() { --depth_; }
    DepthCount(const DepthCount&) = delete;
    DepthCount& operator=(const DepthCount&) = delete;

private:
    int& depth_;
};

// Holds a static object that is constant-initialised and never destroyed, so other static objects
// can use it in their constructors and destructors.
template <class T>
union Immortal {
    template <class... Args>
    constexpr explicit Immortal(Args... args) : object(args...) {}
    constexpr ~Immortal() {}
    T object;
};

// The object behind a caller's reference. Returns null if the reference is null or its object has
// another type. T has a static `cType` and derives from Object first and singly, since a reference
// is the address of the Object base.
template <class T>
T* As(CFTypeRef reference) {
    auto* object = static_cast<Object*>(const_cast<void*>(reference));
    return object != nullptr && object->Type() == T::cType ? static_cast<T*>(object) : nullptr;
}

// The same, but returns null for an immutable object too.
template <class T>
T* AsMutable(CFTypeRef reference) {
    T* object = As<T>(reference);
    return object != nullptr && object->IsMutable() ? object : nullptr;
}

// The reference to hand out for an object: `ToRef<CFStringRef>(string)`.
template <class Ref>
Ref ToRef(const Object* object) {
    return reinterpret_cast<Ref>(const_cast<Object*>(object));
}

}  // namespace tvplatform
