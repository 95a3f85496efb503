// The dictionary object.
#pragma once

#include "corefoundation/collection/Collection.h"
#include "corefoundation/object/Object.h"

#include <CoreFoundation/CFDictionary.h>

#include <functional>
#include <unordered_map>

// The opaque type of the C interface is the class itself.
struct __CFDictionary final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::Dictionary;

    struct KeyHash {
        CFHashCode (*hash)(const void* key);
        size_t operator()(const void* key) const {
            return hash != nullptr ? hash(key) : std::hash<const void*>()(key);
        }
    };
    struct KeyEqual {
        Boolean (*equal)(const void* a, const void* b);
        bool operator()(const void* a, const void* b) const {
            return a == b || (equal != nullptr && equal(a, b));
        }
    };
    using Map = std::unordered_map<const void*, const void*, KeyHash, KeyEqual>;

    __CFDictionary(const CFDictionaryKeyCallBacks* keyCallBacks,
                   const CFDictionaryValueCallBacks* valueCallBacks, bool isMutable)
        : Object(cType), isMutable_(isMutable), keys_(keyCallBacks), values_(valueCallBacks),
          map_(0, KeyHash{keys_.Get().hash}, KeyEqual{keys_.Get().equal}) {}
    ~__CFDictionary() override;

    bool IsMutable() const { return isMutable_; }
    const Map& Entries() const { return map_; }
    const tvplatform::Members<CFDictionaryKeyCallBacks>& Keys() const { return keys_; }
    const tvplatform::Members<CFDictionaryValueCallBacks>& Values() const { return values_; }
    // Returns null if the key is absent. The result is valid until the next change.
    const void* const* Find(const void* key) const;

    // These do not ask whether the dictionary is mutable. Add and Replace return false, and change
    // nothing, if the key or the value is not to be stored.
    bool Add(const void* key, const void* value);      // the key must be absent
    bool Replace(const void* key, const void* value);  // the key must be there
    void Remove(const void* key);

    bool Equal(const Object& other) const override;
    CFHashCode Hash() const override { return map_.size(); }

private:
    const bool isMutable_;
    const tvplatform::Members<CFDictionaryKeyCallBacks> keys_;
    const tvplatform::Members<CFDictionaryValueCallBacks> values_;
    Map map_;
};

namespace tvplatform {
using Dictionary = ::__CFDictionary;
}
