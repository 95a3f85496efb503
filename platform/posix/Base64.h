// Bytes in base64. Any thread may call these functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tvposix {

std::string EncodeBase64(std::string_view bytes);
// Returns nothing if the text is no base64. "=" at the end may be missing.
std::optional<std::string> DecodeBase64(std::string_view text);

}  // namespace tvposix
