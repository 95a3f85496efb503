// Writes a text as one line that people can read and that turns back into exactly the same bytes.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace tvtool {

// Replaces control characters (ASCII's and Unicode's C1), line and paragraph separators, byte-order
// marks and bytes that are not valid UTF-8 by \n, \r, \t or \xHH, and a backslash by two. The ASCII
// characters in `also` become \xHH too.
std::string Escape(std::string_view text, std::string_view also = {});
// Escapes a text in the system encoding, as UTF-8. If it is no text there, every byte that is not
// ASCII becomes \xHH.
std::string EscapeSystem(std::string_view text, std::string_view also = {});
// Escapes a text in the system encoding or in UTF-8, and puts it into double quotes, for messages.
std::string Quote(std::string_view text, CFStringEncoding encoding = CFStringGetSystemEncoding());
// Escapes like Escape, but leaves a backslash alone. It is for whole messages, which are never
// turned back.
std::string Printable(std::string_view text);

struct EscapeFault {
    std::size_t offset = 0;
    std::string what;
};
// Undoes EscapeSystem, in every encoding that holds ASCII as it is. Returns false and sets `fault`
// at the first backslash that begins no known escape, or one that stands for NUL, which a text
// cannot hold. If the system encoding is another one than UTF-8, it does the same at a character
// that this does not have, and at a byte that is no UTF-8.
bool Unescape(std::string_view text, std::string& out, EscapeFault& fault);

// Reads the two hexadecimal digits that `text` begins with. Returns false if it begins with
// something else; `byte` is then unchanged.
bool ParseHexByte(std::string_view text, char& byte);

// A place in a text. Both numbers count from 1, columns in characters.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
};
Place PlaceOf(std::string_view text, std::size_t offset);
// Returns "NAME:LINE:COLUMN".
std::string At(const std::string& name, Place place);

}  // namespace tvtool
