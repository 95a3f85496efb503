// The application variables: how GlobalVars is filled, and how one of them is read. One thread at a
// time.
#pragma once

#include "text/CString.h"

// Sets the built-in variables, then merges the configuration file "Resources/CXMnwc" beside the
// file that holds this code. Does this once per process: a process in which "MajVersion" is set
// counts as done. If that file is missing or damaged, the built-in values stay, silently.
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

// The two steps of doAppSetVariables, for a program that has its resources elsewhere.
void SetBuiltInVariables();
// Merges a configuration file (a POSIX path) into GlobalVars. Returns false, with nothing merged,
// if the file cannot be read or is damaged.
bool MergeConfiguration(const char* path);

// Puts the value of an application variable into `value`, with the application variables
// substituted into it. Returns false, with `value` empty, if there is no such variable.
bool AppGetVariable(const char* name, CString& value);

}  // namespace Tova
