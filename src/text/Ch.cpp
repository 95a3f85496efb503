#include "text/Ch.h"

#include "text/Str.h"

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

// The NULs in front are what the negative nibbles of bytes from 0x80 read.
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

wchar_t ToWChar(char c) {
    if (static_cast<signed char>(c) >= 0) {
        return static_cast<wchar_t>(c);
    }
    // Some encodings make several units of one byte, and a zero slot follows them.
    constexpr int cSlots = 8;
    wchar_t slots[cSlots] = {};
    const char text[] = {c, '\0'};
    Str::ToWStr(text, slots, cSlots);
    UniChar first = 0;
    std::memcpy(&first, slots, sizeof first);
    return static_cast<wchar_t>(first);
}

}  // namespace Tova::Ch
