// Compares two variable lists, and shows how they differ.
#pragma once

#include "tvtool/base/Json.h"
#include "vars/CVarList.h"

#include <string>

namespace tvtool {

// Returns the lines of `config show` that differ, with "-" or "+" before them, coloured as `out`
// is. The order of the variables does not count.
std::string LinesThatDiffer(const Tova::CVarList& before, const Tova::CVarList& after,
                            const Output& out);
// Returns an array of {"name", "before", "after"}; a variable that one list lacks is null there.
Json DifferenceToJson(const Tova::CVarList& before, const Tova::CVarList& after);

}  // namespace tvtool
