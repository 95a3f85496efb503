// Bytes in base64, the form of data in a property list.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tvplatform {

std::string EncodeBase64(const std::vector<UInt8>& bytes);
// Returns nothing if the text is no base64. "=" at the end may be missing.
std::optional<std::vector<UInt8>> DecodeBase64(std::string_view text);

}  // namespace tvplatform
