// The application variables: how GlobalVars is filled, and how one of them is read. One thread at a
// time.
#pragma once

#include "text/CString.h"
#include "vars/CVarList.h"

// Sets the built-in variables, then merges the configuration file "Resources/CXMnwc" beside the
// file that holds this code. Does this once per process: a process in which "MajVersion" is set
// counts as done. If that file is missing or damaged, the built-in values stay, silently. If it
// could not be opened for another reason, the next call reads it. Throws std::bad_alloc if memory
// runs out; GlobalVars is then as before, so the next call tries again.
void doAppSetVariables();

namespace Tova {

// A variable that every process has. A fixed one keeps its value whatever a configuration file
// says.
struct BuiltInVariable {
    const char* name;
    const char* value;
    bool fixed;
};
constexpr BuiltInVariable cBuiltInVariables[] = {
    {"MajVersion", "7", true},
    {"MinVersion", "4", true},
    {"AppName", "Calyx", false},
    {"ShortAppKey", "CX", false},
};

// Sets the built-in variables in `list`.
void SetBuiltInVariables(CVarList& list);

// Puts the value of an application variable into `value`, with the application variables
// substituted into it. Returns false, with `value` empty, if there is no such variable.
bool AppGetVariable(const char* name, CString& value);

}  // namespace Tova
