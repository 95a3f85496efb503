// Reads and writes configuration files as a whole, and says what is wrong with a damaged one.
#pragma once

#include "vars/CVarList.h"
#include "vars/ConfigFile.h"

#include <cstddef>
#include <string>

namespace tvtool {

// What reading the bytes of a file found.
struct ConfigReading {
    Tova::ConfigFileReport report;
    std::size_t size = 0;  // of the file, in bytes
    std::size_t end = 0;   // the number of bytes that were read

    bool IsSound() const { return report.damage == Tova::ConfigFileReport::Damage::None; }
    // Returns the number of bytes behind the check value.
    std::size_t Extra() const { return IsSound() ? size - end : 0; }
    // Says what is wrong and at which byte, counted from 1, in words and with what to do. Returns
    // "" if there is no damage.
    std::string Describe() const;
};

// Adds the variables of a configuration file to `list`; "-" stands for standard input. Warns of
// bytes behind the end. Throws ToolError (Damaged), which says which damage it is.
void ReadConfig(const std::string& path, Tova::CVarList& list);
// Does the same, but takes what a damaged file holds, complains about the damage, and returns false
// then. Still throws if the file does not even resemble a configuration file.
bool ReadDamagedConfig(const std::string& path, Tova::CVarList& list);
// Adds the variables in the bytes of a file, also of a damaged one.
ConfigReading DecodeConfig(std::string bytes, Tova::CVarList& list);

// Returns the bytes of a configuration file that holds `list`.
std::string EncodeConfig(const Tova::CVarList& list);

}  // namespace tvtool
