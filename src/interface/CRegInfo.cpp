#include "interface/CRegInfo.h"

#include "text/CEmailAddress.h"

namespace Tova {

CRegInfo::CRegInfo(const char* firstName, const char* lastName, const char* organisation,
                   const char* email)
    : fields_{CString(firstName), CString(lastName), CString(organisation), CString(email)} {
    for (std::size_t i = 0; i < cFieldCount; ++i) {
        fields_[i].Delete(static_cast<int>(cFields[i].longest), -1);
    }
}

void CRegInfo::SetFromVars(const CVarList& vars) {
    for (std::size_t i = 0; i < cFieldCount; ++i) {
        vars.GetValue(cFields[i].variable, fields_[i]);
    }
}

void CRegInfo::SetVariables(CVarList& vars) const {
    for (std::size_t i = 0; i < cFieldCount; ++i) {
        vars.SetValue(cFields[i].variable, fields_[i].CStr(), false);
    }
}

void CRegInfo::GetName(CString& name) const {
    name.Copy(fields_[0]);
    name.Append(" ");
    name.Append(fields_[1].CStr());
}

bool CRegInfo::IsValidEmailAddress() const {
    return fields_[3].IsEmpty() || CEmailAddress(fields_[3]).IsValid();
}

bool CRegInfo::Compare(const CRegInfo& other) const {
    return fields_ == other.fields_;
}

}  // namespace Tova
