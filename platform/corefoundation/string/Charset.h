// The encodings by number and by name, and which of them is the system's. Any thread.
#pragma once

#include <CoreFoundation/CFString.h>

#include <string_view>

namespace tvplatform {

// An encoding. The defaults are those of the 8-bit character sets that extend ASCII.
struct Charset {
    CFStringEncoding encoding;
    const char* name;  // the name that iconv knows
    // The most bytes that one UTF-16 unit takes. A whole text in a charset that shifts between sets
    // of characters needs up to `cShiftBytes` more.
    unsigned char bytesPerUnit = 1;
    bool holdsAscii = true;  // ASCII's characters have ASCII's bytes, and these have no other use
    bool holdsCStrings = true;  // no character but U+0000 has zero bytes
};
constexpr CFIndex cShiftBytes = 16;

// Returns null for an unknown number. The result is valid as long as the process.
const Charset* FindCharset(CFStringEncoding encoding);
// Takes any name that iconv knows, in any case, and returns null for others. A charset without a
// published number gets one at its first mention.
const Charset* FindCharset(std::string_view name);

// See CFStringGetSystemEncoding.
CFStringEncoding SystemEncoding();

}  // namespace tvplatform
