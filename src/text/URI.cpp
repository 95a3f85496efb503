#include "text/URI.h"

#include "text/CFRef.h"
#include "text/CString.h"
#include "text/Ch.h"

#include <CoreFoundation/CoreFoundation.h>

#include <array>
#include <cstring>
#include <string_view>

namespace Tova::Ch {

namespace {

constexpr std::array<bool, 0x80> makeLegalSet() {
    std::array<bool, 0x80> legal{};
    for (int c = 0; c < 0x80; ++c) {
        legal[static_cast<unsigned>(c)] = IsAlnum(static_cast<char>(c));
    }
    for (const char c : std::string_view("-._<>\"\\^`{|}~")) {
        legal[static_cast<unsigned char>(c)] = true;
    }
    return legal;
}

constexpr std::array<bool, 0x80> cLegal = makeLegalSet();

// The negative high nibbles of bytes of 0x80 or more read the NULs in front.
constexpr char cHexDigits[] = "\0\0\0\0\0\0\0\0"
                              "0123456789ABCDEF";
constexpr int cHexZero = 8;

}  // namespace

bool IsCommonUnreservedInURI(char c) {
    return IsAlnum(c) || c == '-' || c == '.' || c == '_';
}

bool IsLegalInURI(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < cLegal.size() && cLegal[byte];
}

char HexChar(int n) {
    return cHexDigits[n + cHexZero];
}

}  // namespace Tova::Ch

namespace Tova {

namespace {

// Returns the character of `to` at this index, or the NUL if `to` is too short.
char counterpart(std::size_t index, const char* to) {
    return to != nullptr && index < std::strlen(to) ? to[index] : '\0';
}

// Writes the percent escape of c at `out` and returns the place after it.
// Deliberate: the high nibble is that of a signed byte, so that a byte of 0x80 or more ends the
// text.
char* writeEscape(char c, char* out) {
    const auto value = static_cast<signed char>(c);
    *out++ = '%';
    *out++ = Ch::HexChar(value >> 4);
    *out++ = Ch::HexChar(value & 15);
    return out;
}

// Copies a "%" and the two bytes behind it without a check. Returns the place after them in `in`.
const char* copyEscape(const char* in, char*& out) {
    constexpr int cEscapeLength = 3;
    for (int i = 0; i < cEscapeLength && *in != '\0'; ++i) {
        *out++ = *in++;
    }
    return in;
}

// Decodes every escape in `source` and escapes again what needs it. Returns null if `source` cannot
// be read.
CFRef<CFStringRef> normaliseEscapes(const char* source) {
    const CFRef<CFStringRef> text(
        CFStringCreateWithCString(kCFAllocatorDefault, source, CFStringGetSystemEncoding()));
    const CFRef<CFStringRef> none(
        CFStringCreateWithCString(kCFAllocatorDefault, "", kCFStringEncodingUTF8));
    const CFRef<CFStringRef> plain(CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
        kCFAllocatorDefault, text.Get(), none.Get(), kCFStringEncodingUTF8));
    return CFRef<CFStringRef>(CFURLCreateStringByAddingPercentEscapes(
        kCFAllocatorDefault, plain.Get(), nullptr, nullptr, kCFStringEncodingUTF8));
}

}  // namespace

// The members of CString that escape.

template <>
void CString::ToURIEscapedString(const char* source, Ch::URIComponent /*component*/,
                                 Ch::URIEncodeLevel level, Ch::URIFormat format) {
    if (format == Ch::cPlatformFormat) {
        TranslateToMacURIString(source);
        return;
    }
    const bool form = format == Ch::cFormFormat;
    TranslateToURIString(source, level != Ch::cKeepLegal, form ? " " : nullptr,
                         form ? "+" : nullptr, false);
}

template <>
void CString::TranslateToURIString(const char* source, bool strict, const char* from,
                                   const char* to, bool keepEscapes) {
    if (Owns(source) && !IsEmpty()) {
        const CString aside(source);
        TranslateToURIString(aside.CStr(), strict, from, to, false);
        return;
    }
    Clear();
    constexpr std::size_t cWorst = 3;  // every byte becomes an escape
    char* out = Lock(CheckedSize(cWorst * std::strlen(source)) + 1);
    while (*source != '\0') {
        const char c = *source;
        if (keepEscapes && c == '%') {
            source = copyEscape(source, out);
            continue;
        }
        ++source;
        if (const char* found = from != nullptr ? std::strchr(from, c) : nullptr) {
            *out++ = counterpart(static_cast<std::size_t>(found - from), to);
        } else if (Ch::IsLegalInURI(c) && (!strict || Ch::IsCommonUnreservedInURI(c))) {
            *out++ = c;
        } else {
            out = writeEscape(c, out);
        }
    }
    *out = '\0';
    Unlock();
}

template <>
void CString::TranslateToMacURIString(const char* source) {
    CString normalised;
    normalised.CopyFromCFString(normaliseEscapes(source).Get(), kCFStringEncodingUTF8);
    TranslateToURIString(normalised.CStr(), false, nullptr, nullptr, true);
}

}  // namespace Tova
