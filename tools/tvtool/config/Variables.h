// Variable lists from and for configuration files, with the reason for whatever goes wrong; and the
// application variables as the framework that is installed beside the tool has them.
#pragma once

#include "vars/CVarList.h"
#include "vars/ConfigFile.h"

#include <string>
#include <string_view>

namespace tvtool {

// Adds what a configuration file ("-": standard input) holds to `list`. ToolError (Damaged) says
// which damage it is.
void ReadConfig(const std::string& path, Tova::CVarList& list);
// The same for its bytes; `report` receives what ReadConfiguration found. Throws nothing of ours.
void DecodeConfig(std::string bytes, Tova::CVarList& list, Tova::ConfigFileReport& report);
// What is wrong, in words and with what to do; empty for no damage.
std::string DescribeDamage(const Tova::ConfigFileReport& report);

// The bytes of a configuration file that holds `list`.
std::string EncodeConfig(const Tova::CVarList& list);

// Appends or sets a variable whatever its name begins with: unlike CVarList::SetValue, a "%" is
// part of the name.
void SetVariable(Tova::CVarList& list, const std::string& name, const std::string& value,
                 bool fixed);
// Appends all of `from` as it is; `to` is empty.
void CopyVariables(const Tova::CVarList& from, Tova::CVarList& to);
// Why a configuration file cannot hold a variable: its name is empty or begins with "%", and it is
// not fixed. Empty when it can.
std::string ReasonNotToStore(std::string_view name, bool fixed);

// Fills Tova::GlobalVars: the built-in variables, then the framework's own configuration file where
// there is one. One that cannot be used is complained about and left out, as the framework leaves
// it out.
void SetApplicationVariables();
// The path of that file; empty when there is none.
std::string FindOwnConfiguration();

}  // namespace tvtool
