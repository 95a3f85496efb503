// The product's preferences of this user, with a reason where the platform only says false.
#pragma once

namespace tvtool {

// How messages call them.
constexpr char cPreferences[] = "preferences";

// Takes in what other processes have written. ToolError when there is something that cannot be
// read, or (Damaged) that is no property list.
void LoadPreferences();
// The same, but a damaged file is only complained about: writing keeps it under another name.
void LoadPreferencesToWrite();
// Writes changes out, or throws a ToolError.
void SavePreferences();

}  // namespace tvtool
