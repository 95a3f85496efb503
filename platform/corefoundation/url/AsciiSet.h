// Holds a set of ASCII characters.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tvplatform {

class AsciiSet {
public:
    // The members are ASCII.
    consteval explicit AsciiSet(std::string_view members) {
        for (const char c : members) {
            const auto value = static_cast<unsigned char>(c);
            bits_[value / cBits] |= std::uint64_t{1} << value % cBits;
        }
    }

    constexpr AsciiSet operator|(const AsciiSet& other) const {
        AsciiSet both(*this);
        both.bits_[0] |= other.bits_[0];
        both.bits_[1] |= other.bits_[1];
        return both;
    }

    constexpr bool Has(char32_t c) const {
        return c < 2 * cBits && (bits_[c / cBits] >> c % cBits & 1) != 0;
    }
    constexpr bool Has(char byte) const { return Has(char32_t{static_cast<unsigned char>(byte)}); }

    // Returns the place of the first member, or the text's size.
    constexpr std::size_t FindIn(std::string_view text) const {
        const auto* found =
            std::find_if(text.begin(), text.end(), [this](char c) { return Has(c); });
        return static_cast<std::size_t>(found - text.begin());
    }

private:
    static constexpr unsigned cBits = 64;

    std::uint64_t bits_[2] = {};
};

inline constexpr AsciiSet cLetters("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
inline constexpr AsciiSet cLettersAndDigits = cLetters | AsciiSet("0123456789");

}  // namespace tvplatform
