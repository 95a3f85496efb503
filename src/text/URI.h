// How text is escaped for URIs: what the escaping operations of CString are told, and the
// characters that they keep. Any thread may call these functions.
#pragma once

#include "text/Ch.h"

#include <string_view>

namespace Tova::Ch {

// Names the part of a URI that a text is for. Has no effect.
enum URIComponent : int { cURIQuery = 3 };

// Names what stays unescaped: with 0 everything that is legal in a URI, with any other value the
// unreserved characters only.
enum URIEncodeLevel : int { cKeepLegal = 0, cKeepUnreserved = 1 };

// Names how the rest is escaped: through the platform's URL services; in percent escapes (any value
// but the other two); or in percent escapes with "+" for a space, as forms are sent.
enum URIFormat : int { cPlatformFormat = 0, cPercentFormat = 1, cFormFormat = 2 };

// Returns true for ASCII letters, digits, "-", "." and "_".
constexpr bool IsCommonUnreservedInURI(char c) {
    return IsAlnum(c) || c == '-' || c == '.' || c == '_';
}
// Returns true for those characters, the double quote and "<>\^`{|}~".
// Deliberate: the set is unusual, but servers expect it. It contains no delimiter.
constexpr bool IsLegalInURI(char c) {
    return IsCommonUnreservedInURI(c) ||
           std::string_view("\"<>\\^`{|}~").find(c) != std::string_view::npos;
}

// Returns the upper-case hexadecimal digit for n (0 to 15). Returns the NUL for -8 to -1, which the
// high nibble of a signed byte can be. Other numbers are not checked.
constexpr char HexChar(int n) {
    return "\0\0\0\0\0\0\0\0"
           "0123456789ABCDEF"[n + 8];
}

}  // namespace Tova::Ch
