// UTF-8 to UTF-16 and back, strictly: no overlong forms, no surrogates, nothing above U+10FFFF.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

std::optional<std::u16string> DecodeUtf8(std::string_view bytes);
std::optional<std::string> EncodeUtf8(std::u16string_view text);

// Returns the code point that begins at `index`, and stores where the next one begins. An unpaired
// surrogate is a code point of its own.
char32_t CodePointAt(std::u16string_view text, size_t index, size_t& next);
inline bool IsSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}
void AppendCodePoint(std::u16string& text, char32_t c);

// How many bytes or units at the front of a text are ASCII.
size_t AsciiPrefix(std::string_view bytes);
size_t AsciiPrefix(std::u16string_view text);

}  // namespace tvplatform
