// tvtool config: makes, shows and edits configuration files.
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ConfigFiles.h"
#include "tvtool/config/ConfigText.h"
#include "tvtool/config/ListEditing.h"

#include <cstring>
#include <memory>
#include <unordered_set>

namespace tvtool {

namespace {

struct ConfigOptions {
    std::string file;
    std::string from;
    std::string name;
    std::vector<std::string> words;
    bool json = false;
    bool force = false;
    bool dryRun = false;
    bool diff = false;
};

void assignAll(Tova::CVarList& list, const ConfigOptions& options, Session& session) {
    for (const std::string& word : options.words) {
        const Assignment assignment = ParseAssignment(word);
        const std::string why = ReasonNotToStore(assignment.name, assignment.fixed);
        if (!why.empty()) {
            Fail(Exit::Usage, Quote(word), why);
        }
        if (!Assign(list, assignment)) {
            Complain(InputName(options.file) + ": " + Quote(assignment.name) +
                     " is fixed and kept its value; unset it first");
            session.SetStatus(Exit::Failed);
        }
    }
}

// People hardly want to replace something else by a configuration file.
void refuseToReplaceOthers(const std::string& path) {
    if (path == "-" || !Exists(path)) {
        return;
    }
    Tova::CVarList list;
    Tova::ConfigFileReport report;
    const std::string bytes = ReadInput(path);
    DecodeConfig(bytes, list, report);
    if (!bytes.empty() && report.damage == Tova::ConfigFileReport::Damage::NoHeader) {
        Fail(Exit::Failed, path, "exists and is no configuration file; --force replaces it");
    }
}

void create(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    if (!options.from.empty()) {
        ParseVariables(ReadInput(options.from), InputName(options.from), list);
    }
    assignAll(list, options, session);
    OutputFile file(options.file);
    if (!options.force) {
        refuseToReplaceOthers(options.file);
    }
    file.Write(EncodeConfig(list));
}

void show(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    ReadConfig(options.file, list);
    if (options.json) {
        return PrintJson(session.out, ListToJson(list));
    }
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        session.out << FormatVariable(*var) << "\n";
    }
}

// Looks for the exact name, then without the "%" that marks fixed variables elsewhere.
const Tova::CVar* findVariable(const Tova::CVarList& list, const std::string& name,
                               const std::string& file) {
    const Tova::CVar* var = list.FindVar(name.c_str());
    if (var == nullptr && name.starts_with('%')) {
        var = list.FindVar(name.c_str() + 1);
    }
    if (var == nullptr) {
        Fail(Exit::NotFound, InputName(file),
             "has no variable " + Quote(name) + "; 'tvtool config show' lists them");
    }
    return var;
}

void get(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    ReadConfig(options.file, list);
    const Tova::CVar* var = findVariable(list, options.name, options.file);
    if (options.json) {
        return PrintJson(session.out, VariableToJson(*var));
    }
    session.out.PrintValue(var->Value());
}

std::string coloured(const std::string& line, const char* colour, const Output& out) {
    return out.IsColoured() ? std::string("\x1B[") + colour + "m" + line + "\x1B[0m\n"
                            : line + "\n";
}

bool isSame(const Tova::CVar& a, const Tova::CVar& b) {
    return a.IsFixed() == b.IsFixed() && std::strcmp(a.Value(), b.Value()) == 0;
}

// Returns the lines of `config show` that differ. A list keeps its order, so no line can have
// moved.
std::string linesThatDiffer(const Tova::CVarList& before, const Tova::CVarList& after,
                            const Output& out) {
    std::string lines;
    const auto add = [&](const char* sign, const Tova::CVar& var) {
        lines += coloured(sign + FormatVariable(var), *sign == '-' ? "31" : "32", out);
    };
    for (const Tova::CVar* old = before.First(); old != nullptr; old = old->Next()) {
        const Tova::CVar* var = after.FindVar(old->Name());
        if (var == nullptr || !isSame(*var, *old)) {
            add("-", *old);
            if (var != nullptr) {
                add("+", *var);
            }
        }
    }
    for (const Tova::CVar* var = after.First(); var != nullptr; var = var->Next()) {
        if (before.FindVar(var->Name()) == nullptr) {
            add("+", *var);
        }
    }
    return lines;
}

// Reads the file, lets `change` make the list `after` of the list `before`, and shows and writes
// what changed.
template <class Change>
void edit(const ConfigOptions& options, Session& session, Change change) {
    if (options.file == "-" && options.diff && !options.dryRun) {
        Fail(Exit::Usage, "--diff", "standard output is taken by the file; add --dry-run");
    }
    std::optional<OutputFile> file;
    if (!options.dryRun) {
        file.emplace(options.file);
    }
    Tova::CVarList before, after;
    ReadConfig(options.file, before);
    change(before, after);
    const std::string difference = linesThatDiffer(before, after, session.out);
    const std::string name = Printable(InputName(options.file));
    if (options.diff && !difference.empty()) {
        session.out << "--- " << name << "\n+++ " << name << "\n" << difference;
    }
    if (options.dryRun && !options.diff) {
        session.out << name
                    << (difference.empty() ? ": nothing would change\n"
                                           : ": would change; --diff shows how\n");
    }
    if (file && (!difference.empty() || options.file == "-")) {
        file->Write(EncodeConfig(after));
    }
}

void set(const ConfigOptions& options, Session& session) {
    edit(options, session, [&](const Tova::CVarList& before, Tova::CVarList& after) {
        CopyVariables(before, after);
        assignAll(after, options, session);
    });
}

void unset(const ConfigOptions& options, Session& session) {
    edit(options, session, [&](const Tova::CVarList& before, Tova::CVarList& after) {
        std::unordered_set<const Tova::CVar*> gone;
        for (const std::string& name : options.words) {
            gone.insert(findVariable(before, name, options.file));
        }
        for (const Tova::CVar* var = before.First(); var != nullptr; var = var->Next()) {
            if (!gone.contains(var)) {
                SetVariable(after, var->Name(), var->Value(), var->IsFixed());
            }
        }
    });
}

void verify(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    Tova::ConfigFileReport report;
    DecodeConfig(ReadInput(options.file), list, report);
    std::size_t count = 0, fixed = 0;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        ++count;
        if (var->IsFixed()) {
            ++fixed;
        }
    }
    const std::string damage = DescribeDamage(report);
    if (options.json) {
        PrintJson(session.out, {{"valid", damage.empty()},
                                {"kind", Tova::DamageOf(report.damage).token},
                                {"damage", damage.empty() ? Json(nullptr) : JsonText(damage)},
                                {"variables", count},
                                {"fixed", fixed},
                                {"computed", report.computed},
                                {"stored", report.stored}});
    }
    if (!damage.empty()) {
        Fail(Exit::Damaged, InputName(options.file), damage);
    }
    if (!options.json) {
        session.out << Printable(InputName(options.file)) << ": in order; " << std::to_string(count)
                    << (count == 1 ? " variable, " : " variables, ") << std::to_string(fixed)
                    << " fixed, check value " << std::to_string(report.computed) << "\n";
    }
}

using Action = void (*)(const ConfigOptions&, Session&);

// Declares a command whose first argument is a configuration file to read.
Command<ConfigOptions> addReader(CLI::App& config, Session& session, const std::string& name,
                                 Action action, const std::string& description,
                                 const std::string& example) {
    const auto command = AddCommand(config, session, name, action, description, example);
    AddText(command.app, "FILE", command.options.file,
            "The configuration file, or - for standard input")
        ->required();
    return command;
}

void addEditFlags(const Command<ConfigOptions>& command) {
    command.app.add_flag("--dry-run", command.options.dryRun, "Write nothing");
    command.app.add_flag("--diff", command.options.diff, "Show the lines that change");
}

void addReaders(CLI::App& config, Session& session) {
    const auto showing =
        addReader(config, session, "show", show, "Shows all variables, one [%]NAME=VALUE a line",
                  "  tvtool config show Calyx.nwc >Calyx.txt\n"
                  "  tvtool config create Copy.nwc --from Calyx.txt");
    showing.app.add_flag("--json", showing.options.json,
                         "As an array of {\"name\", \"value\", \"fixed\"}");
    const auto getting = addReader(config, session, "get", get, "Prints the value of a variable",
                                   "  tvtool config get Calyx.nwc AppName");
    AddText(getting.app, "NAME", getting.options.name, "The variable")->required();
    getting.app.add_flag("--json", getting.options.json, "As {\"name\", \"value\", \"fixed\"}");
    const auto verifying = addReader(config, session, "verify", verify,
                                     "Says whether a file is in order, or which damage it has",
                                     "  tvtool config verify Calyx.nwc");
    verifying.app.add_flag("--json", verifying.options.json, "As an object");
}

void addEditors(CLI::App& config, Session& session) {
    const auto setting = addReader(
        config, session, "set", set, "Sets variables; a % before the name fixes it for good",
        "  tvtool config set Calyx.nwc AppName=Calyx %Serial=CX7-0042 --diff");
    AddTexts(setting.app, "ASSIGNMENT", setting.options.words,
             "NAME=VALUE: what to set, taken literally")
        ->required();
    addEditFlags(setting);
    const auto unsetting =
        addReader(config, session, "unset", unset, "Removes variables, also fixed ones",
                  "  tvtool config unset Calyx.nwc Serial");
    AddTexts(unsetting.app, "NAME", unsetting.options.words, "The variables")->required();
    addEditFlags(unsetting);
}

void addCreate(CLI::App& config, Session& session) {
    const auto [command, options] =
        AddCommand(config, session, "create", create, "Makes a configuration file",
                   "  tvtool config create Calyx.nwc AppName=Calyx %Serial=42\n"
                   "  tvtool config create Calyx.nwc --from Calyx.txt");
    AddText(command, "OUT", options.file, "The file to make, or - for standard output")->required();
    AddTexts(command, "ASSIGNMENT", options.words,
             "NAME=VALUE: a variable, or %NAME=VALUE for a fixed one");
    AddText(command, "--from", options.from,
            "Take variables from what 'config show' prints, with or without --json;\n"
            "lines that begin with # are comments; - is standard input")
        ->type_name("FILE");
    command.add_flag("--force", options.force, "Replace a file that is no configuration file");
}

}  // namespace

void AddConfigCommand(CLI::App& app, Session& session) {
    CLI::App* config = AddSubcommand(app, "config", "Makes, shows and edits configuration files",
                                     "  tvtool config show Calyx.nwc");
    config->require_subcommand(1);
    addCreate(*config, session);
    addReaders(*config, session);
    addEditors(*config, session);
}

}  // namespace tvtool
