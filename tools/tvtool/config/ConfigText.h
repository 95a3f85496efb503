// Variable lists as text and as JSON, in a form that gives exactly the same list back.
//
// Text: UTF-8, whatever the system encoding is. Each line is "NAME=VALUE", or "%NAME=VALUE" for a
// fixed variable, with the escapes of Escapes.h. In a name, "=" is written as \xHH, and so is what
// would make its line something else: a blank at either end, and a "%", "#" or "[" at the start.
// Empty lines and lines that begin with "#" are left out.
// JSON: an array of {"name", "value", "fixed"}; see Json.h for the texts.
#pragma once

#include "tvtool/base/Json.h"
#include "vars/CVarList.h"

#include <string>

namespace tvtool {

// Returns the line of a variable, without a line end.
std::string FormatVariable(const Tova::CVar& var);
Json VariableToJson(const Tova::CVar& var);
Json ListToJson(const Tova::CVarList& list);

// Adds the variables of a whole text to `list`. The text is JSON if its first character is a "[".
// Throws ToolError (Damaged) with the place of text in neither form, of a name that comes twice,
// and of a variable that a configuration file cannot hold. `name` is the text's name in messages.
void ParseVariables(const std::string& text, const std::string& name, Tova::CVarList& list);

}  // namespace tvtool
