// Texts as one line that people can read and that turns back into exactly the same bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tvtool {

// Control characters (ASCII's and Unicode's C1), line and paragraph separators, byte-order marks
// and bytes that are not valid UTF-8 become \n, \r, \t or \xHH; a backslash becomes two. `also`:
// further ASCII characters that become \xHH.
std::string Escape(std::string_view text, std::string_view also = {});
// In double quotes, for messages.
std::string Quote(std::string_view text);
// As Escape, but leaves a backslash alone: for whole messages, which nobody turns back.
std::string Printable(std::string_view text);

struct EscapeFault {
    std::size_t offset = 0;  // of the backslash
    std::string what;
};
// Undoes Escape. False, with the first fault, when a backslash begins no known escape, or one that
// stands for NUL, which no text can hold.
bool Unescape(std::string_view text, std::string& out, EscapeFault& fault);

// The length of the valid UTF-8 sequence at the start of `text` and its character; 0 when there is
// none.
std::size_t DecodeUtf8(std::string_view text, char32_t& character);

// A place in a text: both numbers count from 1, columns in characters.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
};
Place PlaceOf(std::string_view text, std::size_t offset);
// "NAME:LINE:COLUMN"
std::string At(const std::string& name, Place place);

}  // namespace tvtool
