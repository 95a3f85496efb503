// Conversion between bytes and UTF-16 text. Any thread.
#pragma once

#include <CoreFoundation/CFString.h>

#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

// Returns nothing if a byte is not valid in `encoding` or the encoding is unknown. UTF-16 without a
// named byte order is in the machine's order. A byte-order mark is a character.
std::optional<std::u16string> Decode(std::string_view bytes, CFStringEncoding encoding);
// Returns nothing if the encoding cannot hold the text. No encoding holds an unpaired surrogate.
std::optional<std::string> Encode(std::u16string_view text, CFStringEncoding encoding);

}  // namespace tvplatform
