// The string object, and the operations on strings that the rest of the platform layer uses.
#pragma once

#include "corefoundation/object/Object.h"

#include <CoreFoundation/CFString.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

// The opaque type of the C interface is the class itself, so that a CFStringRef is a pointer to it.
struct __CFString final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::String;

    // A constant is an immortal immutable string.
    enum class Kind : unsigned char { Immutable, Mutable, Constant };

    explicit __CFString(std::u16string text, Kind kind = Kind::Immutable)
        : Object(cType, kind == Kind::Constant), kind_(kind), text_(std::move(text)) {}

    std::u16string_view Text() const { return text_; }
    bool IsMutable() const { return kind_ == Kind::Mutable; }
    // The text to change. The string must be mutable.
    std::u16string& MutableText() { return text_; }

    bool Equal(const Object& other) const override;
    CFHashCode Hash() const override;
    std::u16string Description() const override { return text_; }

private:
    const Kind kind_;
    std::u16string text_;
};

namespace tvplatform {

using String = ::__CFString;

// The units of a string, valid until it changes or dies. Returns nothing if `string` is no string.
std::optional<std::u16string_view> TextOf(CFTypeRef string);

// A new immutable string, owned by the caller. Returns null if the bytes are not valid UTF-8.
CFStringRef MakeString(std::string_view utf8);
CFStringRef MakeString(std::u16string text);
// Returns nothing if `string` is no string or has an unpaired surrogate.
std::optional<std::string> ToUtf8(CFTypeRef string);
// The text of CFCopyDescription.
std::u16string DescriptionOf(CFTypeRef object);

// Whether a range lies in a sequence of `length` elements.
inline bool LiesIn(CFRange range, size_t length) {
    const auto whole = static_cast<CFIndex>(length);
    return range.location >= 0 && range.length >= 0 && range.location <= whole &&
           range.length <= whole - range.location;
}

// The part of a text at a range, which must lie in it.
inline std::u16string_view Part(std::u16string_view text, CFRange range) {
    return text.substr(static_cast<size_t>(range.location), static_cast<size_t>(range.length));
}

}  // namespace tvplatform
