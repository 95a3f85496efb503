// The application variables as the framework that is installed beside the tool has them.
#pragma once

#include <string>

namespace tvtool {

// Fills Tova::GlobalVars with the built-in variables, then with the framework's own configuration
// file if there is one. Complains about a file that cannot be used and leaves it out, as the
// framework does.
void SetApplicationVariables();
// Returns the path of that file, or "" if there is none.
std::string FindOwnConfiguration();

}  // namespace tvtool
