// Guesses what a mistyped word was meant to be.
#pragma once

#include <string>
#include <vector>

namespace tvtool {

// Returns "; did you mean "WORD"?" with the word of `known` that is most like `typed`, or "" if
// none is much like it.
std::string Suggest(const std::string& typed, const std::vector<std::string>& known);

}  // namespace tvtool
