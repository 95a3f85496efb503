#include "corefoundation/string/Encoding.h"

#include "corefoundation/string/Charset.h"
#include "corefoundation/string/Iconv.h"
#include "corefoundation/string/Utf8.h"

#include <algorithm>
#include <bit>

namespace tvplatform {

namespace {

constexpr bool cLittleHost = std::endian::native == std::endian::little;

bool isLittle(CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingUTF16LE:
    case kCFStringEncodingUTF32LE:
        return true;
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF32BE:
        return false;
    default:
        return cLittleHost;
    }
}

// How many bytes the elements of a fixed-width Unicode encoding have; 0 for other encodings.
size_t elementSize(CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingUTF16:
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF16LE:
        return 2;
    case kCFStringEncodingUTF32:
    case kCFStringEncodingUTF32BE:
    case kCFStringEncodingUTF32LE:
        return 4;
    default:
        return 0;
    }
}

char32_t readElement(std::string_view bytes, bool little) {
    char32_t element = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const size_t place = little ? bytes.size() - 1 - i : i;
        element = (element << 8) | static_cast<unsigned char>(bytes[place]);
    }
    return element;
}

void appendElement(std::string& bytes, char32_t element, size_t size, bool little) {
    for (size_t i = 0; i < size; ++i) {
        const size_t place = little ? i : size - 1 - i;
        bytes.push_back(static_cast<char>((element >> (8 * place)) & 0xFF));
    }
}

bool hasUnpaired(std::u16string_view text) {
    for (size_t i = 0; i < text.size();) {
        if (IsSurrogate(CodePointAt(text, i, i))) {
            return true;
        }
    }
    return false;
}

std::optional<std::u16string> decodeElements(std::string_view bytes, size_t size, bool little) {
    if (bytes.size() % size != 0) {
        return std::nullopt;
    }
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (size_t i = 0; i < bytes.size(); i += size) {
        const char32_t element = readElement(bytes.substr(i, size), little);
        if (element > 0x10FFFF || (size == 4 && IsSurrogate(element))) {
            return std::nullopt;
        }
        AppendCodePoint(text, element);
    }
    return hasUnpaired(text) ? std::nullopt : std::optional(std::move(text));
}

std::optional<std::string> encodeElements(std::u16string_view text, size_t size, bool little) {
    if (hasUnpaired(text)) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(text.size() * size);
    for (size_t i = 0; i < text.size();) {
        const char32_t element = size == 4 ? CodePointAt(text, i, i) : text[i++];
        appendElement(bytes, element, size, little);
    }
    return bytes;
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
bool HoldsAscii(const Charset* charset) {
    return charset != nullptr && charset->holdsAscii;
}

}  // namespace

std::optional<std::u16string> Decode(std::string_view bytes, CFStringEncoding encoding) {
    if (encoding == kCFStringEncodingUTF8) {
        return DecodeUtf8(bytes);
    }
    if (const size_t size = elementSize(encoding); size != 0) {
        return decodeElements(bytes, size, isLittle(encoding));
    }
    const Charset* charset = FindCharset(encoding);
    if (encoding == kCFStringEncodingISOLatin1 ||
        (HoldsAscii(charset) && AsciiPrefix(bytes) == bytes.size())) {
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
    if (const size_t size = elementSize(encoding); size != 0) {
        return encodeElements(text, size, isLittle(encoding));
    }
    const Charset* charset = FindCharset(encoding);
    if (HoldsAscii(charset) && AsciiPrefix(text) == text.size()) {
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
