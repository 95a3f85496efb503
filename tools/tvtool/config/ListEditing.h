// Changes variable lists as people ask for it, with the same meaning of "%" everywhere.
#pragma once

#include "tvtool/base/Tool.h"
#include "vars/CVarList.h"

#include <string>
#include <string_view>

namespace tvtool {

// Sets or appends a variable whatever its name begins with: unlike in CVarList::SetValue, a "%" is
// part of the name.
void SetVariable(Tova::CVarList& list, const std::string& name, const std::string& value,
                 bool fixed);
// Appends all of `from` as it is; `to` is empty.
void CopyVariables(const Tova::CVarList& from, Tova::CVarList& to);
// Says why a configuration file cannot hold a variable: its name is empty or begins with "%", and
// it is not fixed. Returns "" if it can.
std::string ReasonNotToStore(std::string_view name, bool fixed);

// An argument "[%]NAME=VALUE", without escapes.
struct Assignment {
    std::string name;
    std::string value;
    bool fixed = false;
};
// Throws ToolError (Usage) if the argument has no "=".
Assignment ParseAssignment(const std::string& argument);
// If the variable is fixed and kept another value, tells so like every command, and makes the
// status Failed. `where` names the file or the option, and `hint` says what to do, or is "".
void Assign(Tova::CVarList& list, const Assignment& assignment, const std::string& where,
            const std::string& hint, Session& session);
void TellThatFixed(const std::string& name, const std::string& where, const std::string& hint,
                   Session& session);
constexpr char cHintToUnset[] = "; 'tvtool config unset' removes it";

}  // namespace tvtool
