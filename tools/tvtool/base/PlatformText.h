// Platform strings from bytes, and back.
#pragma once

#include "text/CFRef.h"

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace tvtool {

using StringRef = Tova::CFRef<CFStringRef>;

// Null when the bytes are not valid in `encoding`.
StringRef DecodeText(std::string_view bytes, CFStringEncoding encoding);
// Nothing when `encoding` cannot hold the text.
std::optional<std::string> EncodeText(CFStringRef text, CFStringEncoding encoding);
// As EncodeText in the system encoding; what cannot be held becomes "?".
std::string TextForPeople(CFStringRef text);
std::u16string UnitsOf(CFStringRef text);
StringRef TextOfUnits(std::u16string_view units);

}  // namespace tvtool
