// tvtool config: makes, shows and edits configuration files.
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Suggestions.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ConfigFiles.h"
#include "tvtool/config/ConfigText.h"
#include "tvtool/config/ListDifference.h"
#include "tvtool/config/ListEditing.h"
#include "tvtool/config/TextEditor.h"

#include <memory>
#include <unordered_set>

namespace tvtool {

namespace {

struct ConfigOptions {
    std::string file;
    std::string other;  // a second file
    std::string from;
    std::string name;
    std::vector<std::string> words;
    bool json = false;
    bool damaged = false;
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
        Assign(list, assignment, InputName(options.file), cHintToUnset, session);
    }
}

void refuseToReplace(const std::string& path, const ConfigOptions& options) {
    if (path != "-" && !options.force && Exists(path)) {
        Fail(Exit::Failed, path, "exists; --force replaces it");
    }
}

void create(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    if (!options.from.empty()) {
        ParseVariables(ReadInput(options.from), InputName(options.from), list);
    }
    assignAll(list, options, session);
    OutputFile file(options.file);
    refuseToReplace(options.file, options);
    file.Write(EncodeConfig(list));
}

// Reads the file as the options say, and sets the status of a damaged one.
void readFile(const ConfigOptions& options, Tova::CVarList& list, Session& session) {
    if (!options.damaged) {
        ReadConfig(options.file, list);
    } else if (!ReadDamagedConfig(options.file, list)) {
        session.SetStatus(Exit::Damaged);
    }
}

void show(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    readFile(options, list, session);
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
        std::vector<std::string> names;
        for (const Tova::CVar* known = list.First(); known != nullptr; known = known->Next()) {
            names.emplace_back(known->Name());
        }
        const std::string meant = Suggest(name, names);
        Fail(Exit::NotFound, InputName(file),
             "has no variable " + Quote(name) +
                 (meant.empty() ? "; 'tvtool config show' lists them" : meant));
    }
    return var;
}

void get(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    readFile(options, list, session);
    const Tova::CVar* var = findVariable(list, options.name, options.file);
    if (options.json) {
        return PrintJson(session.out, VariableToJson(*var));
    }
    session.out.PrintValue(var->Value(), CFStringGetSystemEncoding());
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
    const std::string difference = LinesThatDiffer(before, after, session.out);
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

// Compares like diff: the status is Failed if there is a difference.
void compare(const ConfigOptions& options, Session& session) {
    if (options.file == "-" && options.other == "-") {
        Fail(Exit::Usage, "config diff", "standard input cannot be both files");
    }
    Tova::CVarList before, after;
    ReadConfig(options.file, before);
    ReadConfig(options.other, after);
    const std::string lines = LinesThatDiffer(before, after, session.out);
    const bool isSame = EncodeConfig(before) == EncodeConfig(after);
    if (!isSame) {
        session.SetStatus(Exit::Failed);
    }
    if (options.json) {
        return PrintJson(session.out, DifferenceToJson(before, after));
    }
    const std::string a = Printable(InputName(options.file));
    const std::string b = Printable(InputName(options.other));
    if (!lines.empty()) {
        session.out << "--- " << a << "\n+++ " << b << "\n" << lines;
    } else if (!isSame) {
        session.out << a << " and " << b << " hold the same variables in another order\n";
    }
}

// Keeps other edits of the file out while the editor runs.
void editText(const ConfigOptions& options, Session& session) {
    if (options.file == "-") {
        Fail(Exit::Usage, "config edit", "standard input cannot be edited; name a file");
    }
    OutputFile file(options.file);
    Tova::CVarList before;
    ReadConfig(options.file, before);
    std::string text = "# The variables of " + Printable(options.file) +
                       ", one NAME=VALUE a line. A % before a name makes the value fixed.\n"
                       "# \\n, \\r, \\t, \\\\ and \\xHH stand for what cannot be written.\n";
    for (const Tova::CVar* var = before.First(); var != nullptr; var = var->Next()) {
        text += FormatVariable(*var) + "\n";
    }
    EditText(text, [&](const std::string& changed, const std::string& name) {
        Tova::CVarList after;
        ParseVariables(changed, name, after);
        const std::string bytes = EncodeConfig(after);
        if (bytes == EncodeConfig(before)) {
            session.out << Printable(options.file) << ": nothing has changed\n";
            return;
        }
        file.Write(bytes);
        session.out << LinesThatDiffer(before, after, session.out);
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

std::string countOf(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void verifyFile(const std::string& path, bool json, Session& session) {
    Tova::CVarList list;
    const ConfigReading reading = DecodeConfig(ReadInput(path), list);
    std::size_t count = 0, fixed = 0;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        ++count;
        fixed += var->IsFixed() ? 1U : 0U;
    }
    const std::string damage = reading.Describe();
    if (json) {
        PrintJson(
            session.out,
            {{"file", JsonText(path, kCFStringEncodingUTF8)},
             {"valid", damage.empty()},
             {"kind", Tova::DamageOf(reading.report.damage).token},
             {"damage", damage.empty() ? Json(nullptr) : JsonText(damage, kCFStringEncodingUTF8)},
             {"variables", count},
             {"fixed", fixed},
             {"computed", reading.report.computed},
             {"stored", reading.report.stored},
             {"extra", reading.Extra()}});
    }
    if (!damage.empty()) {
        Fail(Exit::Damaged, InputName(path), damage);
    }
    if (!json) {
        session.out << Printable(InputName(path)) << ": in order; " << countOf(count, "variable")
                    << ", " << std::to_string(fixed) << " fixed, check value "
                    << std::to_string(reading.report.computed)
                    << (reading.Extra() == 0
                            ? ""
                            : "; followed by " + countOf(reading.Extra(), "byte") + " from byte " +
                                  std::to_string(reading.end + 1) + " on")
                    << "\n";
    }
}

// Goes on to the next file after a fault. The status is that of the first fault.
void verify(const ConfigOptions& options, Session& session) {
    for (const std::string& path : options.words) {
        try {
            verifyFile(path, options.json, session);
        } catch (const ToolError& error) {
            session.out.Flush();
            Complain(error.what());
            if (session.Status() == Exit::Done) {
                session.SetStatus(error.Status());
            }
        }
    }
}

void salvage(const ConfigOptions& options, Session& session) {
    Tova::CVarList list;
    OutputFile file(options.other);
    refuseToReplace(options.other, options);
    const bool isSound = ReadDamagedConfig(options.file, list);
    file.Write(EncodeConfig(list));
    std::size_t count = 0;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        ++count;
    }
    if (options.other != "-") {
        session.out << Printable(options.other) << ": " << countOf(count, "variable")
                    << (isSound ? "; the old file was in order\n" : "; check their values\n");
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

void addDamagedFlag(const Command<ConfigOptions>& command) {
    command.app.add_flag("--damaged", command.options.damaged,
                         "Take what can be read of a damaged file; the exit status is 4 then");
}

void addReaders(CLI::App& config, Session& session) {
    const auto showing =
        addReader(config, session, "show", show, "Shows all variables, one [%]NAME=VALUE a line",
                  "  tvtool config show Calyx.nwc >Calyx.txt\n"
                  "  tvtool config create Copy.nwc --from Calyx.txt");
    showing.app.add_flag("--json", showing.options.json,
                         "As an array of {\"name\", \"value\", \"fixed\"}");
    addDamagedFlag(showing);
    const auto getting = addReader(config, session, "get", get, "Prints the value of a variable",
                                   "  tvtool config get Calyx.nwc AppName");
    AddText(getting.app, "NAME", getting.options.name, "The variable")->required();
    getting.app.add_flag("--json", getting.options.json, "As {\"name\", \"value\", \"fixed\"}");
    addDamagedFlag(getting);
    const auto verifying = AddCommand(config, session, "verify", verify,
                                      "Says whether files are in order, or which damage they have",
                                      "  tvtool config verify Calyx.nwc --json\n"
                                      "  tvtool config verify *.nwc");
    AddTexts(verifying.app, "FILE", verifying.options.words,
             "The configuration files; - is standard input")
        ->required();
    verifying.app.add_flag("--json", verifying.options.json, "As an object for each file");
    const auto comparing = addReader(config, session, "diff", compare,
                                     "Shows the variables that differ between two files",
                                     "  tvtool config diff Calyx.nwc Copy.nwc");
    AddText(comparing.app, "FILE2", comparing.options.other, "The file to compare with")
        ->required();
    comparing.app.add_flag("--json", comparing.options.json,
                           "As an array of {\"name\", \"before\", \"after\"}");
    const auto salvaging = addReader(config, session, "salvage", salvage,
                                     "Makes a file of what can be read of a damaged one",
                                     "  tvtool config salvage Broken.nwc Mended.nwc");
    AddText(salvaging.app, "OUT", salvaging.options.other,
            "The file to make, or - for standard output")
        ->required();
    salvaging.app.add_flag("--force", salvaging.options.force, "Replace a file that exists");
}

void addEditors(CLI::App& config, Session& session) {
    const auto setting = addReader(
        config, session, "set", set, "Sets variables; a % before the name fixes it for good",
        "  tvtool config set Calyx.nwc AppName='Calyx Pro' %Edition=2 --diff");
    AddTexts(setting.app, "ASSIGNMENT", setting.options.words,
             "NAME=VALUE: what to set, taken literally")
        ->required();
    addEditFlags(setting);
    const auto unsetting =
        addReader(config, session, "unset", unset, "Removes variables, also fixed ones",
                  "  tvtool config unset Calyx.nwc Edition");
    AddTexts(unsetting.app, "NAME", unsetting.options.words, "The variables")->required();
    addEditFlags(unsetting);
    const auto editing = AddCommand(config, session, "edit", editText,
                                    "Edits the variables in the editor that EDITOR names",
                                    "  tvtool config edit Calyx.nwc");
    AddText(editing.app, "FILE", editing.options.file, "The configuration file")->required();
}

void addCreate(CLI::App& config, Session& session) {
    const auto [command, options] =
        AddCommand(config, session, "create", create, "Makes a configuration file",
                   "  tvtool config create Calyx.nwc AppName=Calyx %Serial=CX7-0042\n"
                   "  tvtool config create Copy.nwc --from Calyx.txt");
    AddText(command, "OUT", options.file, "The file to make, or - for standard output")->required();
    AddTexts(command, "ASSIGNMENT", options.words,
             "NAME=VALUE: a variable, or %NAME=VALUE for a fixed one");
    AddText(command, "--from", options.from,
            "Take variables from what 'config show' prints, with or without --json;\n"
            "lines that begin with # are comments; - is standard input")
        ->type_name("FILE");
    command.add_flag("--force", options.force, "Replace a file that exists");
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
