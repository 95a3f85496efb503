#include "corefoundation/collection/Array.h"

#include <algorithm>
#include <utility>

bool __CFArray::Insert(size_t index, const void* value) {
    if (!members_.Retain(value)) {
        return false;
    }
    try {
        values_.insert(values_.begin() + static_cast<std::ptrdiff_t>(index), value);
    } catch (...) {
        members_.Release(value);
        throw;
    }
    return true;
}

bool __CFArray::Set(size_t index, const void* value) {
    if (!members_.Retain(value)) {
        return false;
    }
    members_.Release(std::exchange(values_[index], value));
    return true;
}

void __CFArray::Remove(size_t index) {
    const void* removed = values_[index];
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(index));
    members_.Release(removed);
}

void __CFArray::Clear() {
    for (const void* removed : std::exchange(values_, {})) {
        members_.Release(removed);
    }
}

__CFArray::~__CFArray() {
    Clear();
}

size_t __CFArray::Find(size_t begin, size_t end, const void* value) const {
    while (begin < end && !members_.Equal(values_[begin], value)) {
        ++begin;
    }
    return begin;
}

bool __CFArray::Equal(const Object& other) const {
    const auto& values = static_cast<const __CFArray&>(other).values_;
    return std::equal(values_.begin(), values_.end(), values.begin(), values.end(),
                      [this](const void* a, const void* b) { return members_.Equal(a, b); });
}
