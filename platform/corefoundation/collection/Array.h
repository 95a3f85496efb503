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

    // These two do not ask whether the array is mutable. Append returns false, and changes nothing,
    // if the value is not to be stored.
    bool Append(const void* value);
    void Clear();

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
