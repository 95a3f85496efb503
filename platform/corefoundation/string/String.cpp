#include "corefoundation/string/String.h"

#include "corefoundation/string/Utf8.h"
#include "posix/KeyedHash.h"

bool __CFString::Equal(const Object& other) const {
    return text_ == static_cast<const __CFString&>(other).text_;
}

CFHashCode __CFString::Hash() const {
    return tvposix::KeyedHash({reinterpret_cast<const char*>(text_.data()), text_.size() * 2});
}

namespace tvplatform {

std::optional<std::u16string_view> TextOf(CFTypeRef string) {
    const String* object = As<String>(string);
    return object != nullptr ? std::optional(object->Text()) : std::nullopt;
}

CFStringRef MakeString(std::u16string text) {
    return new String(std::move(text));
}

CFStringRef MakeString(std::string_view utf8) {
    auto text = DecodeUtf8(utf8);
    return text ? MakeString(std::move(*text)) : nullptr;
}

std::optional<std::string> ToUtf8(CFTypeRef string) {
    const auto text = TextOf(string);
    return text ? EncodeUtf8(*text) : std::nullopt;
}

std::u16string DescriptionOf(CFTypeRef object) {
    return object != nullptr ? static_cast<const Object*>(object)->Description() : u"(null)";
}

}  // namespace tvplatform
