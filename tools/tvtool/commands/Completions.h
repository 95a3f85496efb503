// tvtool __completions: prints what a shell needs to complete the tool's commands, and a plain list
// of them. The build installs the former, and tests compare the latter with the manual page.
#pragma once

#include "tvtool/base/Tool.h"

namespace tvtool {

// Declares the command, which no help shows. `session` outlives the parsing.
void AddCompletionsCommand(CLI::App& app, Session& session);

}  // namespace tvtool
