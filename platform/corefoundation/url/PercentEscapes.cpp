#include "corefoundation/url/PercentEscapes.h"

#include "corefoundation/url/AsciiSet.h"

namespace tvplatform {

namespace {

int hexDigit(char16_t c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const int letter = c | 0x20;
    return c < 0x80 && letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

}  // namespace

int EscapedByte(char16_t high, char16_t low) {
    const int first = hexDigit(high);
    const int second = hexDigit(low);
    return first < 0 || second < 0 ? -1 : first * 16 + second;
}

bool IsPlain(char32_t c) {
    constexpr AsciiSet plain = cLettersAndDigits | AsciiSet("!$&'()*+,-./:;=?@_~");
    return plain.Has(c);
}

void AppendEscape(std::string& text, char byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    text.push_back('%');
    text.push_back(digits[value >> 4U]);
    text.push_back(digits[value & 15U]);
}

std::optional<std::string> Unescape(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            bytes.push_back(text[at]);
            continue;
        }
        const int byte = at + 2 < text.size()
                             ? EscapedByte(static_cast<unsigned char>(text[at + 1]),
                                           static_cast<unsigned char>(text[at + 2]))
                             : -1;
        if (byte < 0) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<char>(byte));
        at += 2;
    }
    return bytes;
}

std::string EscapePath(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        if (IsPlain(static_cast<unsigned char>(byte)) && byte != ':' && byte != ';' &&
            byte != '?') {
            text.push_back(byte);
        } else {
            AppendEscape(text, byte);
        }
    }
    return text;
}

}  // namespace tvplatform
