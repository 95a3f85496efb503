// The rules for the names of registry entries. Any thread may call these functions.
#pragma once

#include "text/Ch.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace Tova::RegNames {

inline constexpr std::size_t cMostCharacters = 64;

// Takes a byte as a signed number. Returns true unless it is -1 or one of the few characters that
// the text formats need.
constexpr bool IsNameChar(int c) {
    constexpr std::u32string_view cOthers(U"\0\t\n ;=\\{}", 9);
    return c != -1 && cOthers.find(static_cast<char32_t>(c)) == cOthers.npos;
}

// Answers IsNameChar for each byte.
inline constexpr std::array<bool, 256> cNameChars = [] {
    std::array<bool, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = IsNameChar(static_cast<signed char>(byte));
    }
    return table;
}();
constexpr bool IsNameByte(char c) {
    return cNameChars[static_cast<unsigned char>(c)];
}

constexpr bool IsValid(std::string_view name) {
    if (name.empty() || name.size() > cMostCharacters || !Ch::IsAlpha(name.front())) {
        return false;
    }
    // Names are short and valid, so a loop that does not branch is faster than one that ends early.
    bool isValid = true;
    for (const char c : name) {
        isValid &= IsNameByte(c);
    }
    return isValid;
}

// Makes a name of `size` characters (1 to cMostCharacters) valid in place.
constexpr void Fix(char* name, std::size_t size) {
    if (!Ch::IsAlpha(*name)) {
        *name = 'X';
    }
    for (char* at = name; at != name + size; ++at) {
        *at = IsNameByte(*at) ? *at : '_';
    }
}

}  // namespace Tova::RegNames
