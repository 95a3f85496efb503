// The number and Boolean objects.
#pragma once

#include "corefoundation/object/Object.h"

#include <CoreFoundation/CFNumber.h>

#include <cstdint>
#include <variant>

// The opaque types of the C interface are the classes themselves.
struct __CFNumber final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::Number;
    using Value = std::variant<std::int64_t, double>;

    // `type` is one of the six of fixed width; integers hold the first kind of value.
    __CFNumber(CFNumberType type, Value value) : Object(cType), type_(type), value_(value) {}

    CFNumberType FixedType() const { return type_; }
    const Value& Get() const { return value_; }
    // By value: negative, 0 or positive. Exact across the two kinds.
    int Compare(const __CFNumber& other) const;
    // See CFNumberGetValue.
    bool Store(CFNumberType type, void* value) const;

    bool Equal(const Object& other) const override;
    CFHashCode Hash() const override;
    std::u16string Description() const override;

private:
    const CFNumberType type_;
    const Value value_;
};

struct __CFBoolean final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::Boolean_;

    constexpr explicit __CFBoolean(bool value) : Object(cType, true), value_(value) {}

    bool Get() const { return value_; }

    CFHashCode Hash() const override { return value_ ? 1 : 0; }
    std::u16string Description() const override { return value_ ? u"true" : u"false"; }

private:
    const bool value_;
};

namespace tvplatform {
using Number = ::__CFNumber;
using Boolean_ = ::__CFBoolean;

// A new number, owned by the caller, from the value of that type at `value`. Returns null if the
// type is unknown.
Number* MakeNumber(CFNumberType type, const void* value);

}  // namespace tvplatform
