#include "corefoundation/collection/Dictionary.h"

#include <algorithm>
#include <utility>

const void* const* __CFDictionary::Find(const void* key) const {
    const auto found = map_.find(key);
    return found != map_.end() ? &found->second : nullptr;
}

bool __CFDictionary::Add(const void* key, const void* value) {
    if (!keys_.Retain(key)) {
        return false;
    }
    bool retained = false;
    try {
        retained = values_.Retain(value);
        if (retained) {
            map_.emplace(key, value);
            return true;
        }
    } catch (...) {
        if (retained) {
            values_.Release(value);
        }
        keys_.Release(key);
        throw;
    }
    keys_.Release(key);
    return false;
}

bool __CFDictionary::Replace(const void* key, const void* value) {
    if (!values_.Retain(value)) {
        return false;
    }
    values_.Release(std::exchange(map_.find(key)->second, value));
    return true;
}

// Releasing may run foreign code, so what is released is out of the table by then.
void __CFDictionary::Remove(const void* key) {
    const auto found = map_.find(key);
    if (found != map_.end()) {
        const auto entry = *found;
        map_.erase(found);
        keys_.Release(entry.first);
        values_.Release(entry.second);
    }
}

__CFDictionary::~__CFDictionary() {
    for (const auto& [key, value] : map_) {
        keys_.Release(key);
        values_.Release(value);
    }
}

bool __CFDictionary::Equal(const Object& other) const {
    return tvplatform::EqualOnce(*this, other, [](const Object& a, const Object& b) {
        const auto& own = static_cast<const __CFDictionary&>(a);
        const auto& dictionary = static_cast<const __CFDictionary&>(b);
        return own.map_.size() == dictionary.map_.size() &&
               std::all_of(own.map_.begin(), own.map_.end(), [&](const auto& entry) {
                   const void* const* found = dictionary.Find(entry.first);
                   return found != nullptr && own.values_.Equal(entry.second, *found);
               });
    });
}
