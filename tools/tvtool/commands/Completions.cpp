#include "tvtool/commands/Completions.h"

#include "tvtool/base/Escapes.h"
#include "tvtool/commands/CommandTree.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>

namespace tvtool {

namespace {

template <class Items, class Text>
std::string join(const Items& items, const std::string& between, Text text) {
    std::string joined;
    for (const auto& item : items) {
        joined += (joined.empty() ? "" : between) + text(item);
    }
    return joined;
}
std::string join(const std::vector<std::string>& words, const std::string& between) {
    return join(words, between, [](const std::string& word) { return word; });
}

void forEachCommand(const CommandNode& command,
                    const std::function<void(const CommandNode&)>& use) {
    use(command);
    for (const CommandNode& inner : command.commands) {
        forEachCommand(inner, use);
    }
}

// Puts a backslash before each character of `special`.
std::string backslashed(const std::string& text, const char* special) {
    std::string escaped;
    for (const char c : text) {
        escaped += (std::string_view(special).find(c) == std::string_view::npos ? "" : "\\");
        escaped += c;
    }
    return escaped;
}

// One line a command: its arguments, then its options, for example "tvtool config get FILE NAME
// --help --json". "..." follows what can be repeated, and COMMAND stands for a sub-command.
std::string listOf(const CommandNode& tree) {
    const auto argument = [](const CommandArgument& it) {
        const std::string name = it.value.name + (it.isRepeated ? "..." : "");
        return " " + (it.isRequired ? name : "[" + name + "]");
    };
    const auto option = [](const CommandOption& it) {
        const auto name = [](const ValueKind& kind) { return kind.name; };
        return " " + it.spellings.back() + (it.values.empty() ? "" : "=") +
               join(it.values, ",", name);
    };
    std::string list;
    forEachCommand(tree, [&](const CommandNode& command) {
        list += join(command.path, " ") + (command.commands.empty() ? "" : " COMMAND") +
                join(command.arguments, "", argument) + join(command.options, "", option) + "\n";
    });
    return list;
}

// For bash: the tables of commands and of options with values, and a function that walks the line.
constexpr char cBashHead[] = R"(# Completion of tvtool for bash, printed by the tool itself.

# These print the variables of the configuration file "$1", assignments to them, the keys of the
# preferences, and the commands, or those below the command "$1".
_tvtool_variables() {
    [ ! -f "$1" ] || tvtool config show -- "$1" 2>/dev/null | sed 's/^%//; s/=.*//'
}
_tvtool_assignments() { _tvtool_variables "$1" | sed 's/$/=/'; }
_tvtool_keys() { tvtool prefs list 2>/dev/null | sed 's/=.*//'; }
_tvtool_topics() {
    tvtool __completions list | sed -nE "s/^tvtool ${1:+$1 }([a-z]+).*/\\1/p" | uniq
}

# Sets what may follow the command "$1". A kind of value is "file", the end of a name above, "other", or
# words with "|" between.
_tvtool_command() {
    commands='' options='' arguments=''
    case $1 in
)";
constexpr char cBashMiddle[] = R"(    esac
}

# Sets the kinds of the values that follow the option "$1", which stands behind its command.
_tvtool_option() {
    values=''
    case $1 in
)";
constexpr char cBashTail[] = R"bash(    esac
}

_tvtool() {
    local commands options arguments values='' command=tvtool ended='' file='' word kind
    # bash takes words apart at "=" and ":".
    local typed=${COMP_WORDS[COMP_CWORD]} joined=() glue=''
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        if [[ $word == [=:]* || -n $glue ]] && [ ${#joined[@]} -gt 0 ]; then
            joined[${#joined[@]} - 1]+=$word
        else
            joined+=("$word")
        fi
        glue=''
        [[ $word != *[=:] ]] || glue=yes
    done
    [[ $typed != [=:]* ]] || typed=''
    local current=${joined[${#joined[@]} - 1]}

    _tvtool_command "$command"
    for word in "${joined[@]:0:${#joined[@]}-1}"; do
        if [ -n "$values" ]; then
            values=${values#"${values%% *}"} values=${values# }
        elif [ -z "$ended" ] && [ "$word" = -- ]; then
            ended=yes
        elif [ -z "$ended" ] && [[ $word == -?* ]]; then
            _tvtool_option "$command $word"
        elif [[ " $commands " == *" $word "* ]]; then
            command+=" $word"
            _tvtool_command "$command"
        else
            file=${file:-${word/#\~\//$HOME/}}
            if [[ $arguments == *' '* || $arguments != *... ]]; then
                arguments=${arguments#"${arguments%% *}"} arguments=${arguments# }
            fi
        fi
    done
    if [ -z "$values$ended" ] && [[ $current == --*=* ]]; then
        _tvtool_option "$command ${current%%=*}"
        current=${current#*=}
    fi

    kind=${values:-$arguments} kind=${kind%% *} kind=${kind%...}
    if [ -z "$values" ] && [ -n "$commands" ] && [[ $current != -* ]]; then
        kind=${commands// /|}
    elif [ -z "$values$ended" ] && [[ $current == -* || -z $kind ]]; then
        kind=${options// /|}
    fi
    COMPREPLY=()
    case $kind in
        other | '') ;;
        file)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames
            ;;
        variables | assignments | keys | topics)
            # A name may hold what the shell would run.
            while IFS= read -r word; do
                [[ $word != "$current"* ]] || COMPREPLY+=("$(printf %q "$word")")
            done < <("_tvtool_$kind" "$file" </dev/null)
            [[ $kind != assignments ]] || compopt -o nospace
            ;;
        *)
            mapfile -t COMPREPLY < <(compgen -W "${kind//|/ }" -- "$current")
            [[ ${COMPREPLY[*]} != *= ]] || compopt -o nospace
            ;;
    esac
    COMPREPLY=("${COMPREPLY[@]#"${current%"$typed"}"}")
}
complete -F _tvtool tvtool
)bash";

std::string bashKind(const ValueKind& kind) {
    return kind.isFile           ? "file"
           : !kind.asked.empty() ? kind.asked
           : kind.words.empty()  ? "other"
                                 : join(kind.words, "|");
}

std::string bashScript(const CommandNode& tree) {
    std::string commands, options;
    forEachCommand(tree, [&](const CommandNode& command) {
        const std::string path = join(command.path, " ");
        const auto name = [](const CommandNode& inner) { return inner.path.back(); };
        const auto kind = [](const CommandArgument& argument) {
            return bashKind(argument.value) + (argument.isRepeated ? "..." : "");
        };
        const auto spellings = [](const CommandOption& option) {
            return join(option.spellings, " ");
        };
        commands += "        '" + path + "')\n            commands='" +
                    join(command.commands, " ", name) + "' arguments='" +
                    join(command.arguments, " ", kind) + "'\n            options='" +
                    join(command.options, " ", spellings) + "' ;;\n";
        for (const CommandOption& option : command.options) {
            if (!option.values.empty()) {
                options += "        '" + path + " " + option.spellings.back() + "') values='" +
                           join(option.values, " ", bashKind) + "' ;;\n";
            }
        }
    });
    return cBashHead + commands + cBashMiddle + options + cBashTail;
}

// For zsh: a function for each command, which hands the line on to that of the sub-command.
std::string zshQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return quoted + "'";
}

std::string zshValue(const ValueKind& kind) {
    return ":" + backslashed(kind.name, "\\:") + ":" +
           (kind.isFile           ? "_files"
            : !kind.asked.empty() ? "_tvtool_" + kind.asked
            : kind.words.empty()  ? " "
                                  : "(" + join(kind.words, " ") + ")");
}

std::string zshSpec(const CommandOption& option) {
    const std::string text =
        "[" + backslashed(option.description, "\\[]:") + "]" + join(option.values, "", zshValue);
    return join(option.spellings, " \\\n        ", [&](const std::string& spelling) {
        const std::string others = join(option.spellings, " ");
        const std::string before = spelling == "--help" || spelling == "--version" ? "(- : *)"
                                   : option.isRepeated                             ? "*"
                                   : option.spellings.size() > 1 ? "(" + others + ")"
                                                                 : "";
        return zshQuoted(before + spelling + text);
    });
}

std::string zshFunction(const CommandNode& command) {
    std::string text = "_" + join(command.path, "_") + "() {\n";
    text += command.commands.empty() ? "    _arguments -S" : "    local state\n    _arguments -C";
    for (const CommandOption& option : command.options) {
        text += " \\\n        " + zshSpec(option);
    }
    std::size_t place = 0;
    for (const CommandArgument& argument : command.arguments) {
        const std::string at = argument.isRepeated ? "*" : std::to_string(++place);
        text += " \\\n        " +
                zshQuoted(at + (argument.isRequired || argument.isRepeated ? "" : ":") +
                          zshValue(argument.value));
    }
    if (command.commands.empty()) {
        return text + "\n}\n";
    }
    text += " \\\n        '1: :->command' '*:: :->rest'\n"
            "    local -a commands=(\n";
    std::string cases;
    for (const CommandNode& inner : command.commands) {
        const std::string name = inner.path.back();
        text += "        " + zshQuoted(name + ":" + inner.description) + "\n";
        cases += "            " + name + ") _" + join(inner.path, "_") + " ;;\n";
    }
    return text +
           "    )\n"
           "    case $state in\n"
           "        command) _describe -t commands command commands ;;\n"
           "        rest) case $words[1] in\n" +
           cases + "        esac ;;\n    esac\n}\n";
}

constexpr char cZshHead[] = R"(#compdef tvtool
# Completion of tvtool for zsh, printed by the tool itself.

# Offers the variables of the configuration file on the line, with "$1" behind each.
_tvtool_variables() {
    local word file=''
    for word in $words[2,-1]; do
        [[ $word == -* || -n $file ]] || file=${(Q)word/#\~\//$HOME/}
    done
    [[ -f $file ]] || return 1
    local -a names=("${(@f)$(tvtool config show -- $file 2>/dev/null </dev/null)}")
    names=("${(@)${(@)names#\%}%%=*}")
    compadd ${1:+-S} $1 -a names
}
_tvtool_assignments() { _tvtool_variables = }
# Offers the keys of the preferences.
_tvtool_keys() {
    local -a names=("${(@f)$(tvtool prefs list 2>/dev/null)}")
    names=("${(@)names%%=*}")
    compadd -a names
}
# Offers the commands, or those below the command on the line.
_tvtool_topics() {
    local line="tvtool ${(j: :)${(@)words[2,-2]}}"
    local -a names=("${(@f)$(tvtool __completions list </dev/null)}")
    names=("${(@)${(@M)names:#${line% } [a-z]*}#${line% } }")
    compadd -- ${(u)names%% *}
}
)";

std::string zshScript(const CommandNode& tree) {
    std::string text = cZshHead;
    forEachCommand(tree, [&](const CommandNode& command) { text += "\n" + zshFunction(command); });
    return text + "\n_tvtool \"$@\"\n";
}

// For fish: a line for each option and command, bound to the words that stand before it.
constexpr char cFishHead[] = R"(# Completion of tvtool for fish, printed by the tool itself.

# The words before the current one, without the tool's name and the options.
function __tvtool_words
    set -l typed (commandline -opc)
    string match -v -- '-*' $typed[2..]
end
# Succeeds if a sub-command of the commands given comes next.
function __tvtool_ends_with
    set -l words (__tvtool_words)
    test "$words" = "$argv"
end
# Succeeds if the command given was named.
function __tvtool_in
    set -l words (__tvtool_words)
    string match -q -- "$argv *" "$words "
end

# These print the variables of the configuration file on the line, assignments to them, the keys of
# the preferences, and the commands, or those below the command on the line.
function __tvtool_variables
    set -l words (__tvtool_words)
    test -f "$words[3]"; or return
    tvtool config show -- $words[3] 2>/dev/null | string replace -r '^%' '' | string replace -r '=.*' ''
end
function __tvtool_assignments
    __tvtool_variables | string replace -r '$' '='
end
function __tvtool_keys
    tvtool prefs list 2>/dev/null | string replace -r '=.*' ''
end
function __tvtool_topics
    set -l words tvtool (__tvtool_words)[2..]
    tvtool __completions list | string replace -rf "^$words ([a-z]+).*" '$1' | uniq
end

complete -c tvtool -f
)";

std::string fishQuoted(const std::string& text) {
    return "'" + backslashed(text, "\\'") + "'";
}

std::string fishOption(const CommandOption& option) {
    std::string text;
    for (const std::string& spelling : option.spellings) {
        text +=
            spelling.starts_with("--") ? " -l " + spelling.substr(2) : " -s " + spelling.substr(1);
    }
    if (!option.values.empty()) {
        const ValueKind& kind = option.values.front();
        text += kind.isFile ? " -r -F" : " -x";
        text += kind.words.empty() ? "" : " -a " + fishQuoted(join(kind.words, " "));
    }
    return text + " -d " + fishQuoted(option.description) + "\n";
}

std::string fishScript(const CommandNode& tree) {
    std::string text = cFishHead;
    forEachCommand(tree, [&](const CommandNode& command) {
        const std::string path =
            join(std::vector<std::string>(command.path.begin() + 1, command.path.end()), " ");
        const std::string here = command.commands.empty() ? "__tvtool_in " : "__tvtool_ends_with ";
        const std::string start = "complete -c tvtool -n '" + here + path + "'";
        for (const CommandOption& option : command.options) {
            text += start + fishOption(option);
        }
        for (const CommandNode& inner : command.commands) {
            text +=
                start + " -a " + inner.path.back() + " -d " + fishQuoted(inner.description) + "\n";
        }
        for (const CommandArgument& argument : command.arguments) {
            const ValueKind& value = argument.value;
            text += value.isFile           ? start + " -F\n"
                    : !value.asked.empty() ? start + " -a '(__tvtool_" + value.asked + ")'\n"
                                           : "";
        }
    });
    return text;
}

// Adds to each command below `command` those of the first one's options that have values: they may
// stand behind the command too.
void passDown(CommandNode& command, const std::vector<CommandOption>& options) {
    for (CommandNode& inner : command.commands) {
        std::copy_if(options.begin(), options.end(), std::back_inserter(inner.options),
                     [](const CommandOption& option) { return !option.values.empty(); });
        passDown(inner, options);
    }
}

void Print(const std::string& format, CLI::App& app, Session& session) {
    CommandNode tree = ReadCommandTree(app);
    if (format != "list") {
        passDown(tree, tree.options);
    }
    if (format == "bash") {
        session.out << bashScript(tree);
    } else if (format == "zsh") {
        session.out << zshScript(tree);
    } else if (format == "fish") {
        session.out << fishScript(tree);
    } else if (format == "list") {
        session.out << listOf(tree);
    } else {
        Fail(Exit::Usage, Quote(format), "is none of bash, zsh, fish and list");
    }
}

}  // namespace

void AddCompletionsCommand(CLI::App& app, Session& session) {
    CLI::App* command = AddSubcommand(app, "__completions", "Prints completions for a shell",
                                      "  tvtool __completions bash");
    command->group("");  // keeps it out of the help
    const auto format = std::make_shared<std::string>();
    AddText(*command, "SHELL", *format, "bash, zsh or fish, or list for a plain list")->required();
    command->callback([format, &app, &session] { Print(*format, app, session); });
}

}  // namespace tvtool
