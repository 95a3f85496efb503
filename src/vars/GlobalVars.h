// The process-wide application variables. They have no lock: one thread at a time.
#pragma once

#include "vars/CVarList.h"

namespace Tova {

// The list is empty when the library is loaded; doAppSetVariables (interface/AppVariables.h) fills
// it. It is constant-initialised, so static initialisers may use it.
extern constinit CVarList GlobalVars;

}  // namespace Tova
