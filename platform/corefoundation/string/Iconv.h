// Conversion through iconv, strictly and as a whole. Any thread.
#pragma once

#include <bit>
#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

// The name of UTF-16 in the machine's byte order.
inline constexpr const char* cIconvUtf16 =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// Nothing when iconv does not know the charset, any of the input is malformed or cut off, or has no
// exact counterpart.
std::optional<std::u16string> IconvDecode(std::string_view bytes, const char* charset);
std::optional<std::string> IconvEncode(std::u16string_view text, const char* charset);

}  // namespace tvplatform
