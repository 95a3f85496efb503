// Compares texts of protocols, in which only ASCII letters have a case. Any thread may use it. The
// functions of the C library would follow the program's locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace tvplatform {

inline char AsciiLower(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

inline bool IsLessIgnoringCase(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return AsciiLower(x) < AsciiLower(y);
    });
}

inline bool IsSameIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return AsciiLower(x) == AsciiLower(y); });
}

}  // namespace tvplatform
