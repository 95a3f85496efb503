// The user's registration details. One thread at a time may use a record.
#pragma once

#include "text/CString.h"
#include "vars/CVarList.h"

namespace Tova {

class CRegInfo {
public:
    // The names of the four fields in a variable list: their only link with the stores.
    static constexpr char cFirstNameVar[] = "RegFirstName";
    static constexpr char cLastNameVar[] = "RegLastName";
    static constexpr char cOrgVar[] = "RegOrg";
    static constexpr char cEmailVar[] = "RegEmail";

    // The longest fields that the constructor from texts keeps, in bytes.
    static constexpr int cMaxName = 30;
    static constexpr int cMaxOrg = 60;
    static constexpr int cMaxEmail = 64;

    CRegInfo() = default;
    // Cuts fields that are too long, even inside a multi-byte character. A null text counts as an
    // empty one.
    CRegInfo(const char* firstName, const char* lastName, const char* organisation,
             const char* email);
    explicit CRegInfo(const CVarList& vars);

    // Takes the fields whole: the limits apply only to what users type. A field without a variable
    // becomes empty.
    void SetFromVars(const CVarList& vars);
    // Sets the four variables, also for empty fields. None of them becomes fixed.
    void SetVariables(CVarList& vars) const;

    // Sets `name` to the first name, a blank and the last name. The blank is there even if one of
    // them is empty.
    void GetName(CString& name) const;
    // An empty address counts as valid.
    bool IsValidEmailAddress() const;
    // Returns true if all fields are equal, byte for byte.
    bool Compare(const CRegInfo& other) const;

    const CString& FirstName() const { return firstName_; }
    const CString& LastName() const { return lastName_; }
    const CString& Organisation() const { return organisation_; }
    const CString& Email() const { return email_; }

private:
    CString firstName_;
    CString lastName_;
    CString organisation_;
    CString email_;
};

}  // namespace Tova
