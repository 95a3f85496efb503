// Conversion between bytes and UTF-16 text. Any thread.
#pragma once

#include <CoreFoundation/CFString.h>

#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

// Strict: nothing when any byte is not valid in `encoding`, or the encoding is not known. UTF-16
// and UTF-32 without a named byte order are in the machine's; a byte-order mark is a character.
std::optional<std::u16string> Decode(std::string_view bytes, CFStringEncoding encoding);
// Strict: nothing when the encoding cannot hold the text; none holds an unpaired surrogate.
std::optional<std::string> Encode(std::u16string_view text, CFStringEncoding encoding);

}  // namespace tvplatform
