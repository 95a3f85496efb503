// The tool's commands as plain values, read from the command-line parser. Completions, the test of
// the manual page and the test of the help texts are made from them.
#pragma once

#include "tvtool/base/Tool.h"

#include <string>
#include <vector>

namespace tvtool {

// What a shell can complete a value with.
struct ValueKind {
    std::string name;  // as the help shows it, for example "FILE"
    bool isFile = false;
    std::vector<std::string> words;  // the words to offer
    // What the shell asks the tool for: "variables" of the file that the line names, "assignments"
    // to them, the "keys" of the preferences, or the "topics" of help, which are commands. Any text
    // will do if all these are empty.
    std::string asked;
};

struct CommandOption {
    std::vector<std::string> spellings;  // with their hyphens, the short ones first
    std::string description;             // the first clause of the help text, in one line
    std::vector<ValueKind> values;       // in their order; empty for a flag
    bool isRepeated = false;
};

struct CommandArgument {
    ValueKind value;
    bool isRequired = false;
    bool isRepeated = false;
};

struct CommandNode {
    std::vector<std::string> path;  // the tool's name, then the names of the sub-commands
    std::string description;
    std::vector<CommandNode> commands;
    std::vector<CommandOption> options;
    std::vector<CommandArgument> arguments;
};

// Reads `app` and everything below it. Commands that the help does not show are left out.
CommandNode ReadCommandTree(CLI::App& app);

}  // namespace tvtool
