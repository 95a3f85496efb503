#include "interface/CRegInfo.h"

#include "text/CEmailAddress.h"

namespace Tova {

CRegInfo::CRegInfo(const char* firstName, const char* lastName, const char* organisation,
                   const char* email)
    : firstName_(firstName), lastName_(lastName), organisation_(organisation), email_(email) {
    firstName_.Delete(cMaxName, -1);
    lastName_.Delete(cMaxName, -1);
    organisation_.Delete(cMaxOrg, -1);
    email_.Delete(cMaxEmail, -1);
}

CRegInfo::CRegInfo(const CVarList& vars) {
    SetFromVars(vars);
}

void CRegInfo::SetFromVars(const CVarList& vars) {
    vars.GetValue(cFirstNameVar, firstName_);
    vars.GetValue(cLastNameVar, lastName_);
    vars.GetValue(cOrgVar, organisation_);
    vars.GetValue(cEmailVar, email_);
}

void CRegInfo::SetVariables(CVarList& vars) const {
    vars.SetValue(cFirstNameVar, firstName_.CStr(), false);
    vars.SetValue(cLastNameVar, lastName_.CStr(), false);
    vars.SetValue(cOrgVar, organisation_.CStr(), false);
    vars.SetValue(cEmailVar, email_.CStr(), false);
}

void CRegInfo::GetName(CString& name) const {
    name.Copy(firstName_);
    name.Append(" ");
    name.Append(lastName_.CStr());
}

bool CRegInfo::IsValidEmailAddress() const {
    return email_.IsEmpty() || CEmailAddress(email_).IsValid();
}

bool CRegInfo::Compare(const CRegInfo& other) const {
    return firstName_ == other.firstName_ && lastName_ == other.lastName_ &&
           organisation_ == other.organisation_ && email_ == other.email_;
}

}  // namespace Tova
