#include "vars/GlobalVars.h"

namespace Tova {

constinit CVarList GlobalVars;

bool AppGetVariable(const char* name, CString& value) {
    if (!GlobalVars.GetValue(name, value)) {
        return false;
    }
    GlobalVars.Apply(value, nullptr);
    return true;
}

}  // namespace Tova
