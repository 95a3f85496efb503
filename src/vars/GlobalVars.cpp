#include "vars/GlobalVars.h"

namespace Tova {

constinit CVarList GlobalVars;

}  // namespace Tova
