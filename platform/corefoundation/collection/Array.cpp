#include "corefoundation/collection/Array.h"

#include <algorithm>
#include <utility>

bool __CFArray::Append(const void* value) {
    if (!members_.Retain(value)) {
        return false;
    }
    try {
        values_.push_back(value);
    } catch (...) {
        members_.Release(value);
        throw;
    }
    return true;
}

void __CFArray::Clear() {
    for (const void* removed : std::exchange(values_, {})) {
        members_.Release(removed);
    }
}

__CFArray::~__CFArray() {
    Clear();
}

bool __CFArray::Equal(const Object& other) const {
    return tvplatform::EqualOnce(*this, other, [](const Object& a, const Object& b) {
        const auto& own = static_cast<const __CFArray&>(a);
        const auto& values = static_cast<const __CFArray&>(b).values_;
        return std::equal(own.values_.begin(), own.values_.end(), values.begin(), values.end(),
                          [&](const void* x, const void* y) { return own.members_.Equal(x, y); });
    });
}
