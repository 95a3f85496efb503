// The data object, which never changes.
#pragma once

#include "corefoundation/object/Object.h"

#include <CoreFoundation/CFData.h>

#include <utility>
#include <vector>

// The opaque type of the C interface is the class itself.
struct __CFData final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::Data;
    using Bytes = std::vector<UInt8>;

    explicit __CFData(Bytes bytes) : Object(cType), bytes_(std::move(bytes)) {}

    const Bytes& Get() const { return bytes_; }

    bool Equal(const Object& other) const override;
    CFHashCode Hash() const override;

private:
    const Bytes bytes_;
};

namespace tvplatform {
using Data = ::__CFData;
}
