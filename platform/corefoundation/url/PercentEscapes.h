// Percent escapes of bytes: "%" and two hexadecimal digits.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

// The byte that two hexadecimal digits stand for, or -1 if one is no digit.
int EscapedByte(char16_t high, char16_t low);

// Appends the escape of a byte, with capital digits.
void AppendEscape(std::string& text, char byte);

// Replaces each escape by its byte. Returns nothing if one is malformed.
std::optional<std::string> Unescape(std::string_view text);

// Whether a text may hold the character as it is: ASCII letters, digits and !$&'()*+,-./:;=?@_~.
bool IsPlain(char32_t c);

// The bytes of a path as a URL's path. ":" is escaped too, so that no component looks like a
// scheme.
std::string EscapePath(std::string_view bytes);

}  // namespace tvplatform
