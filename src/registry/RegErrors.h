// The names of the registry's own status values.
#pragma once

#include "text/CErrorTable.h"

namespace Tova {

// Static initialisation fills and registers the table. CNWRegistry.cpp defines it, so that a
// program that links the shared registry has the names too.
extern CErrorTableEntry RegErrors[2];
extern CErrorTable RegErrorTable;

}  // namespace Tova
