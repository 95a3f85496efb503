// Lists, paths and platform strings as plain texts.
#pragma once

#include "tests/fs/FSTesting.h"
#include "text/CFRef.h"
#include "vars/CVarList.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tvtest {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// "%MajVersion=7;AppName=Calyx": the variables in order, fixed ones with "%".
inline std::string Dump(const Tova::CVarList& list) {
    std::string text;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        text += std::string(text.empty() ? "" : ";") + (var->IsFixed() ? "%" : "") + var->Name() +
                "=" + var->Value();
    }
    return text;
}
inline void Fill(Tova::CVarList& list, const Pairs& pairs) {
    for (const auto& [name, value] : pairs) {
        list.SetValue(name.c_str(), value.c_str(), false);
    }
}

inline Tova::CFRef<CFStringRef> MakeString(const std::string& utf8) {
    return Tova::CFRef<CFStringRef>(
        CFStringCreateWithCString(nullptr, utf8.c_str(), kCFStringEncodingUTF8));
}
inline Tova::CFRef<CFMutableStringRef> MakeMutable(const std::string& utf8) {
    return Tova::CFRef<CFMutableStringRef>(
        CFStringCreateMutableCopy(nullptr, 0, MakeString(utf8).Get()));
}
inline std::string TextOf(CFStringRef string) {
    Tova::CString text;
    return text.CopyFromCFString(string, kCFStringEncodingUTF8) ? text.CStr() : "(not a text)";
}

}  // namespace tvtest
