// The product's preferences of this user. A failure is told with its reason.
#pragma once

#include <string>

namespace tvtool {

// The name of the preferences in messages.
constexpr char cPreferences[] = "preferences";

// Returns the path of the file, which the platform reads and writes. Throws a ToolError if there is
// no folder for it.
std::string PreferencesPath();
// Throws a ToolError if the file could not be made or replaced, or if another process holds its
// lock.
void RequireWritablePreferences();

// Takes in the changes of other processes. Throws a ToolError if the file cannot be read, or
// (Damaged) is no property list.
void LoadPreferences();
// The same, but prints a message about a damaged file and goes on: writing keeps it under another
// name.
void LoadPreferencesToWrite();
// Writes changes to the file, or throws a ToolError.
void SavePreferences();

}  // namespace tvtool
