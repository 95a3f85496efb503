#include "interface/DictStrings.h"

#include "text/CFRef.h"

namespace {

// The value under `key` when it is of the type given; null otherwise.
CFTypeRef Find(CFDictionaryRef dict, CFStringRef key, CFTypeID type) {
    if (dict == nullptr || key == nullptr) {
        return nullptr;
    }
    const CFTypeRef value = CFDictionaryGetValue(dict, key);
    return value != nullptr && CFGetTypeID(value) == type ? value : nullptr;
}

}  // namespace

void getStringFromDict(CFDictionaryRef dict, CFStringRef key, char* buffer, int bufferSize) {
    if (buffer == nullptr || bufferSize <= 0) {
        return;
    }
    const auto value = static_cast<CFStringRef>(Find(dict, key, CFStringGetTypeID()));
    if (value == nullptr ||
        !CFStringGetCString(value, buffer, bufferSize, CFStringGetSystemEncoding())) {
        *buffer = '\0';
    }
}

void setStringInDict(CFMutableDictionaryRef dict, CFStringRef key, const char* text) {
    if (dict == nullptr || key == nullptr) {
        return;
    }
    if (text == nullptr) {
        CFDictionaryAddValue(dict, key, CFSTR(""));
        return;
    }
    const Tova::CFRef<CFStringRef> value(
        CFStringCreateWithCString(kCFAllocatorDefault, text, CFStringGetSystemEncoding()));
    if (value) {
        CFDictionarySetValue(dict, key, value.Get());
    }
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

void SetDictFromRegInfo(CFMutableDictionaryRef details, const CRegInfo& record) {
    setStringInDict(details, DetailsKey::FirstName(), record.FirstName().CStr());
    setStringInDict(details, DetailsKey::LastName(), record.LastName().CStr());
    setStringInDict(details, DetailsKey::Organisation(), record.Organisation().CStr());
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

bool IsSendingAllowed(CFDictionaryRef details) {
    const auto number =
        static_cast<CFNumberRef>(Find(details, DetailsKey::Send(), CFNumberGetTypeID()));
    SInt8 consent = 0;
    // A number that does not fit, or is no integer, is no consent.
    return number != nullptr && CFNumberGetValue(number, kCFNumberSInt8Type, &consent) &&
           consent == 1;
}

}  // namespace Tova
