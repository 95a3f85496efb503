// Fills the application variables, GlobalVars. One thread at a time.
#pragma once

// Sets the built-in variables and merges in the configuration file "Resources/CXMnwc" beside the
// file that holds this code, once per process: a process in which "MajVersion" is set counts as
// done. A file that is missing or damaged leaves the built-in values, silently.
void doAppSetVariables();

// The steps of it, for a program that has its resources elsewhere.
namespace Tova {

// "MajVersion" and "MinVersion", which are fixed, "AppName" and "ShortAppKey".
void SetBuiltInVariables();
// Merges a configuration file (a POSIX path) into GlobalVars. False, with nothing merged, when it
// cannot be read or is damaged.
bool MergeConfiguration(const char* path);

}  // namespace Tova
