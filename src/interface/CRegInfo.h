// The user's registration details. One thread at a time may use a record.
#pragma once

#include "text/CString.h"
#include "vars/CVarList.h"

#include <CoreFoundation/CoreFoundation.h>

#include <array>
#include <cstddef>
#include <iterator>

namespace Tova {

class CRegInfo {
public:
    // The names of the four fields in a variable list: their only link with the stores.
    static constexpr char cFirstNameVar[] = "RegFirstName";
    static constexpr char cLastNameVar[] = "RegLastName";
    static constexpr char cOrgVar[] = "RegOrg";
    static constexpr char cEmailVar[] = "RegEmail";

    struct Field {
        const char* variable;
        CFStringRef (*key)();  // in an installer's dictionary
        std::size_t longest;   // bytes that the constructor from texts keeps
    };
    static constexpr Field cFields[] = {
        {cFirstNameVar, [] { return CFSTR("FNKey"); }, 30},
        {cLastNameVar, [] { return CFSTR("LNKey"); }, 30},
        {cOrgVar, [] { return CFSTR("OrKey"); }, 60},
        {cEmailVar, [] { return CFSTR("EAKey"); }, 64},
    };
    static constexpr std::size_t cFieldCount = std::size(cFields);
    static constexpr std::size_t cLongest = 64;  // of all fields

    CRegInfo() = default;
    // Cuts fields that are too long, even inside a multi-byte character. A null text counts as an
    // empty one.
    CRegInfo(const char* firstName, const char* lastName, const char* organisation,
             const char* email);
    explicit CRegInfo(const CVarList& vars) { SetFromVars(vars); }

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

    // Returns the fields in the order of cFields.
    const std::array<CString, cFieldCount>& Fields() const { return fields_; }

private:
    std::array<CString, cFieldCount> fields_;
};

}  // namespace Tova
