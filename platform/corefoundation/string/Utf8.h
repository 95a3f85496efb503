// UTF-8 to UTF-16 and back, strictly: no overlong forms, no surrogates, nothing above U+10FFFF.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

std::optional<std::u16string> DecodeUtf8(std::string_view bytes);
std::optional<std::string> EncodeUtf8(std::u16string_view text);

// How many bytes a text takes. Returns nothing if it has an unpaired surrogate.
std::optional<size_t> Utf8Size(std::u16string_view text);
// Writes as many bytes as Utf8Size returns for this text.
void WriteUtf8(std::u16string_view text, char* out);

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
