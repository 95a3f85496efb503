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
    try {
        if (!values_.Retain(value)) {
            keys_.Release(key);
            return false;
        }
        try {
            map_.emplace(key, value);
        } catch (...) {
            values_.Release(value);
            throw;
        }
    } catch (...) {
        keys_.Release(key);
        throw;
    }
    return true;
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

void __CFDictionary::Clear() {
    Map removed(0, map_.hash_function(), map_.key_eq());
    removed.swap(map_);
    for (const auto& [key, value] : removed) {
        keys_.Release(key);
        values_.Release(value);
    }
}

void __CFDictionary::AddAll(const __CFDictionary& source) {
    map_.reserve(source.map_.size());
    for (const auto& [key, value] : source.map_) {
        Add(key, value);
    }
}

__CFDictionary::~__CFDictionary() {
    Clear();
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
