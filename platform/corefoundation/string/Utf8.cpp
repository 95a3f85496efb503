#include "corefoundation/string/Utf8.h"

#include "posix/CodePoint.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tvplatform {

namespace {

bool isHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
bool isLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

// Looks at a word of elements at a time, since long texts are ASCII for long stretches.
template <class View>
size_t prefixWithout(View text, std::uint64_t wordMask, std::uint32_t elementMask) {
    constexpr size_t cPerWord = sizeof(std::uint64_t) / sizeof(typename View::value_type);
    size_t i = 0;
    for (; text.size() - i >= cPerWord; i += cPerWord) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, sizeof word);
        if ((word & wordMask) != 0) {
            break;
        }
    }
    while (i < text.size() && (static_cast<std::uint32_t>(text[i]) & elementMask) == 0) {
        ++i;
    }
    return i;
}

size_t encodedLength(char32_t c) {
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

char* writeCodePoint(char32_t c, char* out) {
    constexpr char32_t cFirst[] = {0, 0, 0xC0, 0xE0, 0xF0};
    const size_t length = encodedLength(c);
    if (length == 1) {
        *out = static_cast<char>(c);
        return out + 1;
    }
    for (size_t i = length - 1; i > 0; --i) {
        out[i] = static_cast<char>(0x80 | (c & 0x3F));
        c >>= 6;
    }
    *out = static_cast<char>(cFirst[length] | c);
    return out + length;
}

}  // namespace

size_t AsciiPrefix(std::string_view bytes) {
    return prefixWithout(bytes, 0x8080808080808080U, 0x80U);
}

size_t AsciiPrefix(std::u16string_view text) {
    return prefixWithout(text, 0xFF80FF80FF80FF80U, 0xFF80U);
}

void AppendCodePoint(std::u16string& text, char32_t c) {
    if (c < 0x10000) {
        text.push_back(static_cast<char16_t>(c));
    } else {
        text.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
        text.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    }
}

std::optional<std::u16string> DecodeUtf8(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const size_t plain = AsciiPrefix(bytes);
        const size_t before = text.size();
        text.resize(before + plain);
        std::copy_n(bytes.data(), plain, text.data() + before);
        bytes.remove_prefix(plain);
        while (!bytes.empty() && static_cast<unsigned char>(bytes[0]) >= 0x80) {
            char32_t c = 0;
            const size_t length = tvposix::DecodeCodePoint(bytes, c);
            if (length == 0) {
                return std::nullopt;
            }
            bytes.remove_prefix(length);
            AppendCodePoint(text, c);
        }
    }
    return text;
}

char32_t CodePointAt(std::u16string_view text, size_t index, size_t& next) {
    const char32_t unit = text[index];
    next = index + 1;
    if (isHighSurrogate(unit) && next < text.size() && isLowSurrogate(text[next])) {
        const char32_t low = text[next++];
        return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    return unit;
}

std::optional<std::string> EncodeUtf8(std::u16string_view text) {
    const size_t plain = AsciiPrefix(text);
    size_t size = plain;
    for (size_t i = plain; i < text.size();) {
        const char32_t c = CodePointAt(text, i, i);
        if (IsSurrogate(c)) {
            return std::nullopt;
        }
        size += encodedLength(c);
    }
    std::string bytes(size, '\0');
    char* out = std::transform(text.data(), text.data() + plain, bytes.data(),
                               [](char16_t unit) { return static_cast<char>(unit); });
    for (size_t i = plain; i < text.size();) {
        out = writeCodePoint(CodePointAt(text, i, i), out);
    }
    return bytes;
}

}  // namespace tvplatform
