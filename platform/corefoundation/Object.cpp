#include "Object.h"

#include "String.h"

#include <functional>
#include <limits>

// The opaque type of the C interface is the class itself.
struct __CFAllocator final : tvplatform::Object {
    constexpr __CFAllocator() : Object(tvplatform::TypeId::Allocator, true) {}
};

namespace tvplatform {

namespace {

// Deletion recurses this deep; objects that die deeper down are queued for the outermost one.
constexpr int cDeepestDeletion = 64;
thread_local int tDeletions = 0;
thread_local const Object* tDoomed = nullptr;

constexpr int cDeepestComparison = 200;
thread_local int tComparisons = 0;

class DepthCount {
public:
    explicit DepthCount(int& depth) : depth_(depth) { ++depth_; }
    ~DepthCount() { --depth_; }
    DepthCount(const DepthCount&) = delete;
    DepthCount& operator=(const DepthCount&) = delete;

private:
    int& depth_;
};

constinit const Immortal<__CFAllocator> sMalloc;
constinit const Immortal<__CFAllocator> sNull;

const Object* ToObject(CFTypeRef reference) {
    return static_cast<const Object*>(reference);
}

constexpr const char16_t* cTypeWords[] = {
    u"object",          u"allocator",   u"string",      u"number", u"Boolean",
    u"array",           u"data",        u"dictionary",  u"URL",    u"run loop",
    u"run loop source", u"read stream", u"HTTP message"};

}  // namespace

void Object::Retain() const {
    if (!immortal_) {
        count_.fetch_add(1, std::memory_order_relaxed);
    }
}

void Object::Release() const {
    if (immortal_ || count_.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return;
    }
    if (tDeletions >= cDeepestDeletion) {
        nextDoomed_ = tDoomed;
        tDoomed = this;
        return;
    }
    const bool outermost = tDeletions == 0;
    const DepthCount depth(tDeletions);
    delete this;
    while (outermost && tDoomed != nullptr) {
        const Object* next = tDoomed;
        tDoomed = next->nextDoomed_;  // NOLINT(clang-analyzer-cplusplus.NewDelete): still alive
        delete next;
    }
}

CFIndex Object::Count() const {
    return immortal_ ? std::numeric_limits<CFIndex>::max() : count_.load(std::memory_order_relaxed);
}

CFHashCode Object::Hash() const {
    return std::hash<const void*>()(this);
}

std::u16string Object::Description() const {
    const auto index = static_cast<size_t>(type_);
    return cTypeWords[index < std::size(cTypeWords) ? index : 0];
}

}  // namespace tvplatform

using namespace tvplatform;

constinit const CFAllocatorRef kCFAllocatorDefault = nullptr;
constinit const CFAllocatorRef kCFAllocatorMalloc = &sMalloc.object;
constinit const CFAllocatorRef kCFAllocatorNull = &sNull.object;

CFTypeRef CFRetain(CFTypeRef object) {
    if (object != nullptr) {
        ToObject(object)->Retain();
    }
    return object;
}

void CFRelease(CFTypeRef object) {
    if (object != nullptr) {
        ToObject(object)->Release();
    }
}

CFIndex CFGetRetainCount(CFTypeRef object) {
    return object != nullptr ? ToObject(object)->Count() : 0;
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return static_cast<CFTypeID>(object != nullptr ? ToObject(object)->Type() : TypeId::Unknown);
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
    return ToObject(a)->Equal(*ToObject(b));
}

CFHashCode CFHash(CFTypeRef object) {
    return object != nullptr ? ToObject(object)->Hash() : 0;
}

CFStringRef CFCopyDescription(CFTypeRef object) {
    return MakeString(object != nullptr ? ToObject(object)->Description()
                                        : std::u16string(u"(null)"));
}
