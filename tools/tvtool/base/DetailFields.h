// The four registration details, in the framework's order, and how people see them.
#pragma once

#include "interface/CRegInfo.h"
#include "interface/DictStrings.h"

#include <algorithm>
#include <array>
#include <string>

namespace tvtool {

struct DetailField {
    const char* label;
    const char* variable;
    CFStringRef (*key)();  // in an installer's dictionary
    const Tova::CString& (Tova::CRegInfo::*value)() const;
    std::size_t longest;  // bytes
};

inline constexpr std::array<DetailField, 4> cDetailFields = {{
    {"First name", Tova::CRegInfo::cFirstNameVar, Tova::DetailsKey::FirstName,
     &Tova::CRegInfo::FirstName, Tova::CRegInfo::cMaxName},
    {"Last name", Tova::CRegInfo::cLastNameVar, Tova::DetailsKey::LastName,
     &Tova::CRegInfo::LastName, Tova::CRegInfo::cMaxName},
    {"Organisation", Tova::CRegInfo::cOrgVar, Tova::DetailsKey::Organisation,
     &Tova::CRegInfo::Organisation, Tova::CRegInfo::cMaxOrg},
    {"E-mail", Tova::CRegInfo::cEmailVar, Tova::DetailsKey::Email, &Tova::CRegInfo::Email,
     Tova::CRegInfo::cMaxEmail},
}};

// Returns a line whose text begins in the same column for every label of up to 13 characters.
inline std::string LabelledLine(std::string label, const std::string& text) {
    label += ":";
    label.resize(std::max<std::size_t>(label.size() + 1, 15), ' ');
    return label + text + "\n";
}

}  // namespace tvtool
