#include "tvtool/commands/CommandTree.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace tvtool {

namespace {

std::vector<std::string> splitWords(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// Help texts are cut at the first semicolon or full stop that ends a clause.
std::string firstClause(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text.substr(0, std::min(text.find("; "), text.find(". ")));
}

ValueKind kindOf(const std::string& name, CLI::Option& option) {
    ValueKind kind;
    kind.name = name;
    kind.words = splitWords(OfferedWords(option));
    kind.isFile = TakesFile(option);
    return kind;
}

std::string askedFor(const CLI::App& app, const std::string& name) {
    const std::string command = app.get_parent() != nullptr ? app.get_parent()->get_name() : "";
    return command == "config" && name == "NAME"         ? "variables"
           : command == "config" && name == "ASSIGNMENT" ? "assignments"
           : command == "prefs" && name == "KEY"         ? "keys"
           : app.get_name() == "help"                    ? "topics"
                                                         : "";
}

bool isRepeated(const CLI::Option& option) {
    return option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
}

CommandOption readOption(CLI::Option& option) {
    CommandOption made;
    for (const std::string& name : option.get_snames()) {
        made.spellings.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        made.spellings.push_back("--" + name);
    }
    made.description = firstClause(option.get_description());
    if (option.get_items_expected_max() > 0) {
        for (const std::string& name : splitWords(option.get_type_name())) {
            made.values.push_back(kindOf(name, option));
        }
    }
    made.isRepeated = !made.values.empty() && isRepeated(option);
    return made;
}

CommandNode readCommand(CLI::App& app, std::vector<std::string> path) {
    CommandNode made;
    path.push_back(app.get_name());
    made.path = path;
    made.description = firstClause(app.get_description());
    for (CLI::Option* option : app.get_options({})) {
        if (option->get_positional()) {
            made.arguments.push_back({kindOf(option->get_name(true), *option),
                                      option->get_required(), isRepeated(*option)});
            made.arguments.back().value.asked = askedFor(app, option->get_name(true));
        } else {
            made.options.push_back(readOption(*option));
        }
    }
    for (CLI::App* command : app.get_subcommands({})) {
        if (!command->get_group().empty()) {
            made.commands.push_back(readCommand(*command, path));
        }
    }
    return made;
}

}  // namespace

CommandNode ReadCommandTree(CLI::App& app) {
    return readCommand(app, {});
}

}  // namespace tvtool
