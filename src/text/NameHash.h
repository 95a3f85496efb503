// The hash of a name in the tables of the class library. Any thread may call it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Tova {

// Takes eight bytes into a hash. In the lower half of a product, a difference in the top bit stays
// one in that bit whatever the hash is, and the next bytes could undo it. So the upper half goes on
// too.
inline std::uint64_t MixIntoHash(std::uint64_t hash, std::uint64_t bits) {
    constexpr std::uint64_t cOdd = 0x9E37'79B9'7F4A'7C15;  // has no pattern in its bits
#if defined(__SIZEOF_INT128__)
    __extension__ using Product = unsigned __int128;
    const Product product = Product{hash ^ bits} * cOdd;
    return static_cast<std::uint64_t>(product >> 64) ^ static_cast<std::uint64_t>(product);
#else
    for (const std::uint64_t half : {bits >> 32, bits & UINT32_MAX}) {
        hash = (hash ^ half) * cOdd;
        hash = (hash ^ hash >> 32) * cOdd;
        hash ^= hash >> 29;
    }
    return hash;
#endif
}

// Returns a hash all of whose bits can be used. It begins with an address, which the loader chooses
// anew for every process, so that nobody can make a file of names that all fall on one slot. It is
// inline and takes a name in words, because names are short and std::hash costs twice as much.
inline std::uint64_t HashName(std::string_view name) {
    static constexpr char cSomewhere = 0;
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(&cSomewhere) ^ name.size();
    const char* at = name.data();
    std::size_t left = name.size();
    for (; left >= sizeof hash; at += sizeof hash, left -= sizeof hash) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, at, sizeof bits);
        hash = MixIntoHash(hash, bits);
    }
    // The rest as two words or three bytes, which overlap if it is shorter.
    std::uint64_t rest = 0;
    if (left >= sizeof(std::uint32_t)) {
        std::uint32_t first = 0;
        std::uint32_t last = 0;
        std::memcpy(&first, at, sizeof first);
        std::memcpy(&last, at + left - sizeof last, sizeof last);
        rest = std::uint64_t{first} << 32 | last;
    } else if (left > 0) {
        const auto byteAt = [at](std::size_t i) { return static_cast<unsigned char>(at[i]); };
        rest = std::uint64_t{byteAt(0)} << 16 | std::uint64_t{byteAt(left / 2)} << 8 |
               byteAt(left - 1);
    }
    return MixIntoHash(hash, rest);
}

inline std::uint64_t HashName(std::u16string_view name) {
    return HashName(
        {reinterpret_cast<const char*>(name.data()), name.size() * sizeof name.front()});
}

// Tells whether two names are the same. It is inline and compares short ones in words, because a
// call would cost as much as the rest of a look-up.
template <class C>
bool AreNamesEqual(std::basic_string_view<C> a, std::basic_string_view<C> b) {
    if (a.size() != b.size()) {
        return false;
    }
    const std::size_t size = a.size() * sizeof(C);
    const auto* one = reinterpret_cast<const char*>(a.data());
    const auto* other = reinterpret_cast<const char*>(b.data());
    const auto areEndsEqual = [=](auto word) {
        return std::memcmp(one, other, sizeof word) == 0 &&
               std::memcmp(one + size - sizeof word, other + size - sizeof word, sizeof word) == 0;
    };
    if (size >= sizeof(std::uint64_t) && size <= 2 * sizeof(std::uint64_t)) {
        return areEndsEqual(std::uint64_t{});
    }
    if (size >= sizeof(std::uint32_t) && size < sizeof(std::uint64_t)) {
        return areEndsEqual(std::uint32_t{});
    }
    return a == b;
}

}  // namespace Tova
