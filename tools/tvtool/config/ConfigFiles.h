// Reads and writes configuration files as a whole, and says what is wrong with a damaged one.
#pragma once

#include "vars/CVarList.h"
#include "vars/ConfigFile.h"

#include <string>

namespace tvtool {

// Adds the variables of a configuration file to `list`; "-" stands for standard input. Throws
// ToolError (Damaged), which says which damage it is.
void ReadConfig(const std::string& path, Tova::CVarList& list);
// Does the same for the bytes of a file, but throws no ToolError. `report` receives what
// ReadConfiguration found.
void DecodeConfig(std::string bytes, Tova::CVarList& list, Tova::ConfigFileReport& report);
// Says what is wrong, in words and with what to do. Returns "" if there is no damage.
std::string DescribeDamage(const Tova::ConfigFileReport& report);

// Returns the bytes of a configuration file that holds `list`.
std::string EncodeConfig(const Tova::CVarList& list);

}  // namespace tvtool
