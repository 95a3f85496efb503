// A hash of texts that come from outside. Any thread may call it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tvposix {

// It begins with an address, which the loader chooses anew for every process. Four bytes at a time
// go through two products, so that what they change depends on the secret, and nobody can choose
// the next bytes so that they undo it.
inline std::uint64_t KeyedHash(std::string_view bytes) {
    constexpr std::uint64_t cOdd = 0x9E37'79B9'7F4A'7C15;  // has no pattern in its bits
    static constexpr char cSomewhere = 0;
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(&cSomewhere) ^ bytes.size();
    do {
        std::uint32_t word = 0;
        const std::size_t taken = std::min(bytes.size(), sizeof word);
        std::memcpy(&word, bytes.data(), taken);
        bytes.remove_prefix(taken);
        hash = (hash ^ word) * cOdd;
        hash = (hash ^ hash >> 32) * cOdd;
        hash ^= hash >> 29;
    } while (!bytes.empty());
    return hash;
}

}  // namespace tvposix
