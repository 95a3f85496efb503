// The names of the registry's own status values.
#pragma once

#include "text/CErrorTable.h"

namespace Tova {

// Filled and registered during static initialisation; defined beside CNWRegistry, so that whoever
// links the shared registry has the names too.
extern CErrorTableEntry RegErrors[2];
extern CErrorTable RegErrorTable;

}  // namespace Tova
