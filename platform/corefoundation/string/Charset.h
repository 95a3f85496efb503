// The encodings by number and by name, and which of them is the system's. Any thread.
#pragma once

#include <CoreFoundation/CFString.h>

#include <string_view>

namespace tvplatform {

struct Charset {
    CFStringEncoding encoding;
    const char* name;  // as iconv knows it
    // The most bytes that one UTF-16 unit takes. Charsets that shift between sets of characters
    // need up to `cShiftBytes` more for a whole text.
    unsigned char bytesPerUnit;
    bool holdsAscii;  // a text of ASCII characters has ASCII's bytes, and such bytes are that text
    bool holdsCStrings;  // no character but U+0000 has zero bytes
};
constexpr CFIndex cShiftBytes = 16;

// Null for a number that belongs to none. Valid as long as the process.
const Charset* FindCharset(CFStringEncoding encoding);
// By any name that iconv knows, in any case; null for others. A charset without a published number
// gets one at its first mention.
const Charset* FindCharset(std::string_view name);

// See CFStringGetSystemEncoding.
CFStringEncoding SystemEncoding();

}  // namespace tvplatform
