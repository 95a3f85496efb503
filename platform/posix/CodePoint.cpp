#include "posix/CodePoint.h"

namespace tvposix {

std::size_t DecodeCodePoint(std::string_view text, char32_t& character) {
    constexpr char32_t cSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text.empty() ? '\xFF' : text[0]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || text.size() < length) {
        return 0;
    }
    character = length == 1 ? lead : lead & (0x7FU >> length);
    for (const char byte : text.substr(1, length - 1)) {
        if ((byte & 0xC0) != 0x80) {
            return 0;
        }
        character = character << 6 | (byte & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return character < cSmallest[length] || isSurrogate || character > 0x10FFFF ? 0 : length;
}

}  // namespace tvposix
