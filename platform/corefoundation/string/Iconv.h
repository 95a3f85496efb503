// Strict conversion of whole texts through iconv. Any thread may call this.
#pragma once

#include <bit>
#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

// The name of UTF-16 in the machine's byte order.
inline constexpr const char* cIconvUtf16 =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// Return nothing if iconv does not know the charset, or if a part of the input is malformed, cut
// off or without an exact counterpart. Throw std::bad_alloc if memory runs out.
std::optional<std::u16string> IconvDecode(std::string_view bytes, const char* charset);
std::optional<std::string> IconvEncode(std::u16string_view text, const char* charset);

}  // namespace tvplatform
