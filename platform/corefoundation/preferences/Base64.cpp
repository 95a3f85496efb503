#include "corefoundation/preferences/Base64.h"

#include <algorithm>

namespace tvplatform {

namespace {

constexpr std::string_view cDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string EncodeBase64(const std::vector<UInt8>& bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(bytes.size() - at, 3);
        unsigned group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8U | (i < count ? bytes[at + i] : 0U);
        }
        for (unsigned i = 0; i < 4; ++i) {
            text += i <= count ? cDigits[group >> (18 - 6 * i) & 0x3F] : '=';
        }
    }
    return text;
}

std::optional<std::vector<UInt8>> DecodeBase64(std::string_view text) {
    text = text.substr(0, text.find_last_not_of('=') + 1);
    std::vector<UInt8> bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    unsigned group = 0;
    unsigned bits = 0;
    for (const char c : text) {
        const std::size_t digit = cDigits.find(c);
        if (digit == cDigits.npos) {
            return std::nullopt;
        }
        group = group << 6U | static_cast<unsigned>(digit);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<UInt8>(group >> bits));
        }
    }
    // Six bits alone are no byte.
    return bits < 6 ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace tvplatform
