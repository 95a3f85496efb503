#include "corefoundation/string/Encoding.h"

#include "corefoundation/string/Charset.h"
#include "corefoundation/string/Iconv.h"
#include "corefoundation/string/Utf8.h"

#include <algorithm>

namespace tvplatform {

namespace {

bool hasUnpaired(std::u16string_view text) {
    for (size_t i = 0; i < text.size();) {
        if (IsSurrogate(CodePointAt(text, i, i))) {
            return true;
        }
    }
    return false;
}

// In ASCII and Latin 1 a byte is its unit.
std::optional<char16_t> largestUnit(CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingASCII:
        return u'\x7F';
    case kCFStringEncodingISOLatin1:
        return u'\xFF';
    default:
        return std::nullopt;
    }
}

std::u16string widened(std::string_view bytes) {
    std::u16string text(bytes.size(), u'\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](char c) { return static_cast<unsigned char>(c); });
    return text;
}

std::string narrowed(std::u16string_view text) {
    std::string bytes(text.size(), '\0');
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](char16_t unit) { return static_cast<char>(unit); });
    return bytes;
}

// Whether the charset of that number has ASCII's bytes for ASCII's characters.
bool isAsciiBased(const Charset* charset) {
    return charset != nullptr && charset->holdsAscii;
}

}  // namespace

std::optional<std::u16string> Decode(std::string_view bytes, CFStringEncoding encoding) {
    if (encoding == kCFStringEncodingUTF8) {
        return DecodeUtf8(bytes);
    }
    const Charset* charset = FindCharset(encoding);
    if (encoding == kCFStringEncodingISOLatin1 ||
        (isAsciiBased(charset) && AsciiPrefix(bytes) == bytes.size())) {
        return widened(bytes);
    }
    return charset != nullptr && encoding != kCFStringEncodingASCII
               ? IconvDecode(bytes, charset->name)
               : std::nullopt;
}

std::optional<std::string> Encode(std::u16string_view text, CFStringEncoding encoding) {
    if (encoding == kCFStringEncodingUTF8) {
        return EncodeUtf8(text);
    }
    const Charset* charset = FindCharset(encoding);
    if (isAsciiBased(charset) && AsciiPrefix(text) == text.size()) {
        return narrowed(text);
    }
    if (const auto largest = largestUnit(encoding)) {
        const bool fits =
            std::all_of(text.begin(), text.end(), [&](char16_t unit) { return unit <= *largest; });
        return fits ? std::optional(narrowed(text)) : std::nullopt;
    }
    return charset != nullptr && !hasUnpaired(text) ? IconvEncode(text, charset->name)
                                                    : std::nullopt;
}

}  // namespace tvplatform
