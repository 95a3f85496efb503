// 8-bit texts in the caller's dictionaries, converted in the system encoding. A null dictionary or
// key finds nothing and changes nothing.
#pragma once

#include "interface/CRegInfo.h"

#include <CoreFoundation/CoreFoundation.h>

// Copies the text under `key` into `buffer` of `bufferSize` bytes. The result is empty, never cut,
// when there is none, it is no string, the encoding cannot hold it, or it does not fit with its
// NUL. A null buffer, or one of no size, is left alone.
void getStringFromDict(CFDictionaryRef dict, CFStringRef key, char* buffer, int bufferSize);

// Stores `text` under `key`, replacing what is there; does nothing when it is not valid in the
// system encoding. A null text stores the empty string, and only where the key is absent: callers
// rely on the difference.
void setStringInDict(CFMutableDictionaryRef dict, CFStringRef key, const char* text);

namespace Tova {

// The keys of the dictionary in which an installer passes the user's details.
namespace DetailsKey {
CFStringRef FirstName();
CFStringRef LastName();
CFStringRef Organisation();
CFStringRef Email();
CFStringRef Send();
}  // namespace DetailsKey

// Stores the four fields under their keys, empty ones as empty strings.
void SetDictFromRegInfo(CFMutableDictionaryRef details, const CRegInfo& record);
// A record of the four texts in the dictionary; a text that is too long gives an empty field.
CRegInfo GetRegInfoFromDict(CFDictionaryRef details);

}  // namespace Tova
