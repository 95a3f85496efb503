// The array object.
#pragma once

#include "corefoundation/collection/Collection.h"
#include "corefoundation/object/Object.h"

#include <CoreFoundation/CFArray.h>

#include <vector>

// The opaque type of the C interface is the class itself.
struct __CFArray final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::Array;

    __CFArray(const CFArrayCallBacks* callBacks, bool isMutable)
        : Object(cType), isMutable_(isMutable), members_(callBacks) {}
    ~__CFArray() override;

    bool IsMutable() const { return isMutable_; }
    const std::vector<const void*>& Values() const { return values_; }
    const CFArrayCallBacks& CallBacks() const { return members_.Get(); }

    // These do not ask whether the array is mutable. `index` lies in the array or, to insert, at
    // its end. False, with nothing changed, when the value is not to be stored.
    bool Insert(size_t index, const void* value);
    bool Set(size_t index, const void* value);
    void Remove(size_t index);
    void Clear();
    // The first place in [begin, end), or `end`.
    size_t Find(size_t begin, size_t end, const void* value) const;

    bool Equal(const Object& other) const override;
    CFHashCode Hash() const override { return values_.size(); }

private:
    const bool isMutable_;
    const tvplatform::Members<CFArrayCallBacks> members_;
    std::vector<const void*> values_;
};

namespace tvplatform {
using Array = ::__CFArray;
}
