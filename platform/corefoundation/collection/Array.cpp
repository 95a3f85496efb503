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
    const auto& values = static_cast<const __CFArray&>(other).values_;
    return std::equal(values_.begin(), values_.end(), values.begin(), values.end(),
                      [this](const void* a, const void* b) { return members_.Equal(a, b); });
}
