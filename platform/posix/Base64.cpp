#include "posix/Base64.h"

namespace tvposix {

namespace {

constexpr std::string_view cDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    unsigned group = 0;
    unsigned bits = 0;  // those of `group` that are not written yet
    for (const char byte : bytes) {
        group = group << 8U | static_cast<unsigned char>(byte);
        for (bits += 8; bits >= 6;) {
            text += cDigits[group >> (bits -= 6) & 0x3F];
        }
    }
    if (bits > 0) {
        text += cDigits[group << (6 - bits) & 0x3F];
    }
    text.resize((text.size() + 3) / 4 * 4, '=');
    return text;
}

std::optional<std::string> DecodeBase64(std::string_view text) {
    text = text.substr(0, text.find_last_not_of('=') + 1);
    std::string bytes;
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
            bytes += static_cast<char>(group >> (bits -= 8));
        }
    }
    // Six bits alone are no byte.
    return bits < 6 ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace tvposix
