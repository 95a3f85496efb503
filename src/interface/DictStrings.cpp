#include "interface/DictStrings.h"

#include "text/CFRef.h"

namespace {

// Returns the string under `key`, or null if there is none.
CFStringRef findString(CFDictionaryRef dict, CFStringRef key) {
    if (dict == nullptr || key == nullptr) {
        return nullptr;
    }
    const CFTypeRef value = CFDictionaryGetValue(dict, key);
    return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID()
               ? static_cast<CFStringRef>(value)
               : nullptr;
}

}  // namespace

void getStringFromDict(CFDictionaryRef dict, CFStringRef key, char* buffer, int bufferSize) {
    if (buffer == nullptr || bufferSize <= 0) {
        return;
    }
    const CFStringRef value = findString(dict, key);
    if (value == nullptr ||
        !CFStringGetCString(value, buffer, bufferSize, CFStringGetSystemEncoding())) {
        *buffer = '\0';
    }
}

bool setStringInDict(CFMutableDictionaryRef dict, CFStringRef key, const char* text) {
    if (dict == nullptr || key == nullptr) {
        return false;
    }
    if (text == nullptr) {
        CFDictionaryAddValue(dict, key, CFSTR(""));
        return CFDictionaryContainsKey(dict, key) != 0;
    }
    const Tova::CFRef<CFStringRef> value(
        CFStringCreateWithCString(kCFAllocatorDefault, text, CFStringGetSystemEncoding()));
    if (!value) {
        return true;
    }
    CFDictionarySetValue(dict, key, value.Get());
    const CFStringRef stored = findString(dict, key);
    return stored != nullptr && CFEqual(stored, value.Get()) != 0;
}

namespace Tova {

bool SetDictFromRegInfo(CFMutableDictionaryRef details, const CRegInfo& record) {
    bool good = true;
    for (std::size_t i = 0; good && i < CRegInfo::cFieldCount; ++i) {
        good = setStringInDict(details, CRegInfo::cFields[i].key(), record.Fields()[i].CStr());
    }
    return good;
}

CRegInfo GetRegInfoFromDict(CFDictionaryRef details) {
    char texts[CRegInfo::cFieldCount][CRegInfo::cLongest + 1];
    for (std::size_t i = 0; i < CRegInfo::cFieldCount; ++i) {
        const CRegInfo::Field& field = CRegInfo::cFields[i];
        getStringFromDict(details, field.key(), texts[i], static_cast<int>(field.longest) + 1);
    }
    return CRegInfo(texts[0], texts[1], texts[2], texts[3]);
}

}  // namespace Tova
