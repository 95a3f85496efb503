// Changes variable lists as people ask for it, with the same meaning of "%" everywhere.
#pragma once

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
// Returns false if the variable is fixed and kept another value.
bool Assign(Tova::CVarList& list, const Assignment& assignment);

}  // namespace tvtool
