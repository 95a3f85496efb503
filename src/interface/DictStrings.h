// Reads and stores 8-bit texts in the caller's dictionaries, converted in the system encoding. With
// a null dictionary or key, nothing is found and nothing changes.
#pragma once

#include "interface/CRegInfo.h"

#include <CoreFoundation/CoreFoundation.h>

// Copies the text under `key` into `buffer` of `bufferSize` bytes. The result is empty, and never
// cut, if there is no text, the value is no string, the encoding cannot hold it, it holds U+0000,
// or it does not fit together with its NUL. Does nothing if `buffer` is null or `bufferSize` is not
// positive.
void getStringFromDict(CFDictionaryRef dict, CFStringRef key, char* buffer, int bufferSize);

// Stores `text` under `key` and replaces the value there. Does nothing if `text` is not valid in
// the system encoding. Returns false if the dictionary does not take the text, because it is
// immutable.
// Deliberate: a null text stores the empty string, and only if the key is absent, because callers
// rely on the difference.
bool setStringInDict(CFMutableDictionaryRef dict, CFStringRef key, const char* text);

namespace Tova {

// The key of the number that tells whether the user has agreed to sending.
inline CFStringRef SendKey() {
    return CFSTR("SDKey");
}

// Stores the four fields under their keys. Empty fields are stored as empty strings. Returns false
// if the dictionary does not take one.
bool SetDictFromRegInfo(CFMutableDictionaryRef details, const CRegInfo& record);
// Returns a record of the four texts in the dictionary. A text that is too long gives an empty
// field.
CRegInfo GetRegInfoFromDict(CFDictionaryRef details);

}  // namespace Tova
