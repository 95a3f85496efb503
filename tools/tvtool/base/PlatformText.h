// Makes platform strings from bytes, and bytes from platform strings.
#pragma once

#include "text/CFRef.h"

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace tvtool {

using StringRef = Tova::CFRef<CFStringRef>;

// Returns null if the bytes are not valid in `encoding`.
StringRef DecodeText(std::string_view bytes, CFStringEncoding encoding);
// Returns nullopt if `encoding` cannot hold the text.
std::optional<std::string> EncodeText(CFStringRef text, CFStringEncoding encoding);
// Returns nullopt if the bytes are not valid in `from`, or if `to` cannot hold the text.
std::optional<std::string> ConvertText(std::string_view bytes, CFStringEncoding from,
                                       CFStringEncoding to);
// Returns UTF-8. Half of a surrogate pair becomes "?".
std::string TextForPeople(CFStringRef text);
// Returns UTF-8 for bytes in the system encoding, and bytes that are not valid in it as they are.
std::string TextForPeople(std::string_view bytes);

}  // namespace tvtool
