// The process-wide application variables. They have no lock: one thread at a time.
#pragma once

#include "text/CString.h"
#include "vars/CVarList.h"

namespace Tova {

// Empty when the library is loaded (it is constant-initialised, so that static initialisers may use
// it); filled by doAppSetVariables.
extern constinit CVarList GlobalVars;

// Puts the value of an application variable into `value`, with the application variables
// substituted into it. False, with `value` empty, when there is no such variable.
bool AppGetVariable(const char* name, CString& value);

}  // namespace Tova
