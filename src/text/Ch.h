// Tests and conversions of single characters. ASCII alone has classes and case: a byte of 0x80 to
// 0xFF is never a letter, digit or white space, whatever the locale. Any thread.
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

// Which part of a URI a text is for. Accepted everywhere and without effect.
enum URIComponent : int { cURIQuery = 3 };

// What stays unescaped: everything legal in a URI, or (any other value) unreserved characters only.
enum URIEncodeLevel : int { cKeepLegal = 0, cKeepUnreserved = 1 };

// How the rest is escaped: through the platform's URL services; in percent escapes (any value but
// the two others); in percent escapes with "+" for a space, as forms are sent.
enum URIFormat : int { cPlatformFormat = 0, cPercentFormat = 1, cFormFormat = 2 };

// Letters, digits, "-", "." and "_".
bool IsCommonUnreservedInURI(char c);
// Those, the double quote and "<>\^`{|}~": an unusual set that servers have come to expect. Every
// delimiter is outside it.
bool IsLegalInURI(char c);

// The upper-case hexadecimal digit for n (0 to 15). For -8 to -1, which the high nibble of a signed
// byte can be, the NUL. Any other n is the caller's mistake and is not checked.
char HexChar(int n);

// The first UTF-16 unit of a byte in the system encoding; 0 for a byte that means nothing alone.
wchar_t ToWChar(char c);

}  // namespace Tova::Ch
