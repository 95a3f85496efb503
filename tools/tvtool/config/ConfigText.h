// Variable lists as text and as JSON, in a form that gives exactly the same list back.
//
// Text: one "NAME=VALUE" a line, "%NAME=VALUE" for a fixed variable, with the escapes of Escapes.h.
// A "=" in a name, and what would make its line something else (a blank at either end of it, a "%",
// "#" or "[" at its start), is written as \xHH. Empty lines and lines that begin with "#" are left
// out.
// JSON: an array of {"name", "value", "fixed"}; see Json.h for the texts.
#pragma once

#include "tvtool/base/Json.h"
#include "vars/CVarList.h"

#include <string>

namespace tvtool {

// Without a line end.
std::string FormatVariable(const Tova::CVar& var);
Json VariableToJson(const Tova::CVar& var);
Json ListToJson(const Tova::CVarList& list);

// Adds the variables of a whole text in either form to `list`: JSON where its first character is a
// "[". ToolError (Damaged) with the place for what is neither, for a name that comes twice, and for
// what a configuration file cannot hold.
void ParseVariables(const std::string& text, const std::string& name, Tova::CVarList& list);

// An argument "[%]NAME=VALUE", without escapes.
struct Assignment {
    std::string name;
    std::string value;
    bool fixed = false;
};
// ToolError (Usage) when it has no "=".
Assignment ParseAssignment(const std::string& argument);
// False when the variable is fixed and kept another value.
bool Assign(Tova::CVarList& list, const Assignment& assignment);

}  // namespace tvtool
