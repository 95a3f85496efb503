// The scrambling of stored bytes, and sums of bytes. Any thread may call these functions.
#pragma once

#include <cstddef>
#include <cstdint>

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

// The next two return the sum of the plain bytes. `from` and `to` must not overlap, so that the
// compiler can work through several bytes at once.
inline std::uint32_t Scramble(const unsigned char* __restrict from, unsigned char* __restrict to,
                              std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += from[i];
        to[i] = Scramble(from[i]);
    }
    return sum;
}
inline std::uint32_t Unscramble(const unsigned char* __restrict from, unsigned char* __restrict to,
                                std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = Unscramble(from[i]);
        sum += to[i];
    }
    return sum;
}
inline std::uint32_t SumBytes(const unsigned char* bytes, std::size_t count) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += bytes[i];
    }
    return sum;
}

}  // namespace Tova
