// The C interface to what all objects have in common, and the allocators.
#include "corefoundation/object/Object.h"

// The opaque type of the C interface is the class itself.
struct __CFAllocator final : tvplatform::Object {
    constexpr __CFAllocator() : Object(tvplatform::TypeId::Allocator, true) {}
};

namespace {

using namespace tvplatform;

constexpr int cDeepestComparison = 200;
thread_local int tComparisons = 0;

constinit const Immortal<__CFAllocator> sMalloc;
constinit const Immortal<__CFAllocator> sNull;

const Object* toObject(CFTypeRef reference) {
    return static_cast<const Object*>(reference);
}

}  // namespace

constinit const CFAllocatorRef kCFAllocatorDefault = nullptr;
constinit const CFAllocatorRef kCFAllocatorMalloc = &sMalloc.object;
constinit const CFAllocatorRef kCFAllocatorNull = &sNull.object;

CFTypeRef CFRetain(CFTypeRef object) {
    if (object != nullptr) {
        toObject(object)->Retain();
    }
    return object;
}

void CFRelease(CFTypeRef object) {
    if (object != nullptr) {
        toObject(object)->Release();
    }
}

CFIndex CFGetRetainCount(CFTypeRef object) {
    return object != nullptr ? toObject(object)->Count() : 0;
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return static_cast<CFTypeID>(object != nullptr ? toObject(object)->Type() : TypeId::Unknown);
}

Boolean CFEqual(CFTypeRef a, CFTypeRef b) {
    if (a == b) {
        return true;
    }
    if (a == nullptr || b == nullptr || CFGetTypeID(a) != CFGetTypeID(b) ||
        tComparisons >= cDeepestComparison) {
        return false;
    }
    const DepthCount depth(tComparisons);
    return toObject(a)->Equal(*toObject(b));
}

CFHashCode CFHash(CFTypeRef object) {
    return object != nullptr ? toObject(object)->Hash() : 0;
}
