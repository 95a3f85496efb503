// The application variables as the framework that is installed beside the tool has them.
#pragma once

#include <string>

namespace tvtool {

// Returns the folder TVframework.framework that is installed beside the tool, or "" if there is
// none.
std::string FindBundle();
// Return the paths of the library and of its own configuration file in a bundle.
std::string LibraryIn(const std::string& bundle);
std::string ConfigurationIn(const std::string& bundle);

// Fills Tova::GlobalVars with the built-in variables, then with the configuration file in the
// bundle if there is one. Complains about a file that cannot be used and leaves it out, as the
// framework does. Does nothing if the variables are set already.
void SetApplicationVariables(const std::string& bundle = FindBundle());

}  // namespace tvtool
