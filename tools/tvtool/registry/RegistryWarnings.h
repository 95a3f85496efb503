// Finds what in a registry file is read, but hardly as its author meant it.
#pragma once

#include "tvtool/registry/RegistryFile.h"

#include <string>
#include <vector>

namespace tvtool {

// Returns messages with file and line, 20 at most: a first line that is almost the header of the
// current format, lines that are skipped, bytes behind a NUL or the end, and a file in which
// nothing is found.
std::vector<std::string> WarningsOf(const RegistryFile& file);

}  // namespace tvtool
