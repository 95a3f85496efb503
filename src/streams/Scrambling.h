// The scrambling of stored bytes. Any thread may call these functions.
#pragma once

#include <cstddef>

namespace Tova {

constexpr unsigned char SwapNibbles(unsigned b) {
    return static_cast<unsigned char>((b << 4 & 0xF0) | (b >> 4 & 0x0F));
}
constexpr unsigned char Scramble(unsigned char plain) {
    return SwapNibbles(plain + 0x5BU);
}
constexpr unsigned char Unscramble(unsigned char stored) {
    return static_cast<unsigned char>(SwapNibbles(stored) - 0x5BU);
}

// `from` and `to` may be the same.
inline void Scramble(const unsigned char* from, unsigned char* to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = Scramble(from[i]);
    }
}
inline void Unscramble(const unsigned char* from, unsigned char* to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = Unscramble(from[i]);
    }
}

}  // namespace Tova
