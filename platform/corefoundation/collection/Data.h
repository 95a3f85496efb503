// The data object.
#pragma once

#include "corefoundation/object/Object.h"

#include <CoreFoundation/CFData.h>

#include <utility>
#include <vector>

// The opaque type of the C interface is the class itself.
struct __CFData final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::Data;
    using Bytes = std::vector<UInt8>;

    __CFData(Bytes bytes, bool isMutable)
        : Object(cType), isMutable_(isMutable), bytes_(std::move(bytes)) {}

    const Bytes& Get() const { return bytes_; }
    // Null for immutable data.
    Bytes* Mutable() { return isMutable_ ? &bytes_ : nullptr; }
    bool IsMutable() const { return isMutable_; }

    bool Equal(const Object& other) const override;
    CFHashCode Hash() const override;

private:
    const bool isMutable_;
    Bytes bytes_;
};

namespace tvplatform {
using Data = ::__CFData;
}
