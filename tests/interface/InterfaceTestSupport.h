// Details, configuration files and preferences as short texts.
#pragma once

#include "interface/CPrefs.h"
#include "interface/CRegInfo.h"
#include "interface/RegInfoStorage.h"
#include "tests/support/TempHome.h"
#include "tests/vars/VarsTestSupport.h"

#include <gtest/gtest.h>

namespace tvtest {

// "first|last|organisation|e-mail".
inline std::string Show(const Tova::CRegInfo& record) {
    const auto& fields = record.Fields();
    return std::string(fields[0].CStr()) + "|" + fields[1].CStr() + "|" + fields[2].CStr() + "|" +
           fields[3].CStr();
}

inline Tova::CFRef<CFMutableDictionaryRef> MakeDict(const Pairs& texts = {}) {
    Tova::CFRef<CFMutableDictionaryRef> dict(CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : texts) {
        CFDictionarySetValue(dict.Get(), MakeString(key).Get(), MakeString(value).Get());
    }
    return dict;
}
inline Tova::CFRef<CFNumberRef> MakeNumber(double value) {
    return Tova::CFRef<CFNumberRef>(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

// The four details with "|" between them; "-" for one that is absent.
inline std::string Show(CFDictionaryRef dict) {
    std::string text;
    for (const char* key : {"FNKey", "LNKey", "OrKey", "EAKey"}) {
        const void* value = CFDictionaryGetValue(dict, MakeString(key).Get());
        text += value == nullptr ? "-" : TextOf(static_cast<CFStringRef>(value));
        text += *key == 'E' ? "" : "|";
    }
    return text;
}

inline void WriteConfig(const std::string& path, const Pairs& vars) {
    Tova::CVarList list;
    Fill(list, vars);
    ASSERT_EQ(list.WriteToFile(Path(path)), Tova::Ok);
}

inline void SetPreference(const char* key, CFTypeRef value) {
    CFPreferencesSetValue(MakeString(std::string("RegisterInfo/") + key).Get(), value,
                          Tova::CPrefs::Domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    Tova::CPrefs::Synchronize();
}

}  // namespace tvtest
