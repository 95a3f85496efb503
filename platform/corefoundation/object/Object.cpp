#include "corefoundation/object/Object.h"

#include <functional>
#include <limits>

namespace tvplatform {

namespace {

// Deletion recurses this deep. Objects that die deeper down are queued for the outermost deletion.
constexpr int cDeepestDeletion = 64;
thread_local int tDeletions = 0;
thread_local const Object* tDoomed = nullptr;

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
