// Tests and conversions of single characters. Only ASCII characters have classes and case. A byte
// of 0x80 to 0xFF is never a letter, digit or white space, and the locale has no effect. Any thread
// may call these functions.
#pragma once

namespace Tova::Ch {

constexpr bool IsWhite(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool IsAlpha(char c) {
    return IsUpper(c) || IsLower(c);
}
constexpr bool IsAlnum(char c) {
    return IsAlpha(c) || IsDigit(c);
}
constexpr char ToLower(char c) {
    return IsUpper(c) ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr char ToUpper(char c) {
    return IsLower(c) ? static_cast<char>(c - ('a' - 'A')) : c;
}

// Returns the first UTF-16 unit of a byte in the system encoding, or 0 if the byte alone is not
// valid in it.
wchar_t ToWChar(char c);

}  // namespace Tova::Ch
