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

CFStringRef DetailsKey::FirstName() {
    return CFSTR("FNKey");
}
CFStringRef DetailsKey::LastName() {
    return CFSTR("LNKey");
}
CFStringRef DetailsKey::Organisation() {
    return CFSTR("OrKey");
}
CFStringRef DetailsKey::Email() {
    return CFSTR("EAKey");
}
CFStringRef DetailsKey::Send() {
    return CFSTR("SDKey");
}

bool SetDictFromRegInfo(CFMutableDictionaryRef details, const CRegInfo& record) {
    return setStringInDict(details, DetailsKey::FirstName(), record.FirstName().CStr()) &&
           setStringInDict(details, DetailsKey::LastName(), record.LastName().CStr()) &&
           setStringInDict(details, DetailsKey::Organisation(), record.Organisation().CStr()) &&
           setStringInDict(details, DetailsKey::Email(), record.Email().CStr());
}

CRegInfo GetRegInfoFromDict(CFDictionaryRef details) {
    char firstName[CRegInfo::cMaxName + 1];
    char lastName[CRegInfo::cMaxName + 1];
    char organisation[CRegInfo::cMaxOrg + 1];
    char email[CRegInfo::cMaxEmail + 1];
    getStringFromDict(details, DetailsKey::FirstName(), firstName, sizeof firstName);
    getStringFromDict(details, DetailsKey::LastName(), lastName, sizeof lastName);
    getStringFromDict(details, DetailsKey::Organisation(), organisation, sizeof organisation);
    getStringFromDict(details, DetailsKey::Email(), email, sizeof email);
    return CRegInfo(firstName, lastName, organisation, email);
}

}  // namespace Tova
