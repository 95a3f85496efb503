// tvtool registry: looks into registry files and writes none.
#include "interface/AppVariables.h"
#include "registry/CNWRegistry.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/Tool.h"
#include "tvtool/registry/RegistryDump.h"
#include "tvtool/registry/RegistryFile.h"
#include "tvtool/registry/RegistryWarnings.h"

#include <memory>
#include <new>

namespace tvtool {

namespace {

constexpr char cFileHelp[] = "The registry file; \"-\" is standard input";

struct Arguments {
    std::string file;
    std::string path;
    bool shared = false;
    bool json = false;

    // Returns the file to read. It is the shared registry if none is named.
    std::string File() const { return file.empty() ? RegistryFile::SharedPath() : file; }
    // One argument that names no file is a path in the shared registry.
    void TellFileFromPath() {
        if (shared && !path.empty()) {
            throw CLI::ValidationError("--shared", "takes a PATH and no FILE");
        }
        if (shared || (path.empty() && file != "-" && !file.empty() && !Exists(file))) {
            path = ArgumentText(file);
            file.clear();
            isGuessed = !shared;
        }
    }
    bool isGuessed = false;
};

void addFlags(CLI::App& command, Arguments& arguments) {
    command.add_flag("--json", arguments.json, "Print JSON");
}

// Reads the file that the arguments name.
RegistryFile readFile(const Arguments& arguments) {
    try {
        return RegistryFile(arguments.File());
    } catch (const ToolError& error) {
        if (!arguments.isGuessed) {
            throw;
        }
        Fail(error.Status(), Quote(arguments.path),
             std::string("there is no such file, and no shared registry to look it up in: ") +
                 error.what());
    }
}

// Returns the node, or exits. In a damaged file the node may stand behind the fault.
const Tova::CRegNode& findNode(const RegistryFile& file, const Arguments& arguments,
                               Session& session) {
    const std::string& path = arguments.path;
    const Tova::CRegNode& root = *file.Tree().GetNode();
    const Tova::CRegNode* found = path.empty() ? &root : root.DeepFind(path.c_str());
    if (found == nullptr) {
        file.ReportProblem(session);
        Fail(file.IsSound() ? Exit::NotFound : Exit::Damaged, file.Name(),
             "holds nothing at " + Quote(path) +
                 (arguments.isGuessed ? ", which names no file either" : ""));
    }
    return *found;
}

void show(const Arguments& given, Session& session) {
    Arguments arguments = given;
    arguments.TellFileFromPath();
    const RegistryFile file = readFile(arguments);
    const Tova::CRegNode& top = findNode(file, arguments, session);
    if (arguments.json) {
        session.out << "{\n  \"format\": \"" << file.FormatName() << "\",\n  \"entries\": ";
        PrintTreeJson(session.out, top);
        session.out << "\n}\n";
    } else {
        PrintTree(session.out, top);
    }
    file.ReportProblem(session);
}

void get(const Arguments& given, Session& session) {
    Arguments arguments = given;
    arguments.TellFileFromPath();
    if (arguments.path.empty()) {
        Fail(Exit::Usage, "registry get", "give the PATH of a value too");
    }
    const RegistryFile file = readFile(arguments);
    const Tova::CRegNode& found = findNode(file, arguments, session);
    if (found.IsDirectory()) {
        Fail(Exit::NotFound, file.Name(),
             Quote(arguments.path) + " is a directory and has no value; use registry show");
    }
    session.out.PrintValue(found.GetValue() == nullptr ? "" : found.GetValue(),
                           CFStringGetSystemEncoding());
    file.ReportProblem(session);
}

void verify(const Arguments& arguments, Session& session) {
    const RegistryFile file(arguments.File());
    const TreeCounts counts = CountTree(*file.Tree().GetNode());
    const std::vector<std::string> warnings = WarningsOf(file);
    if (arguments.json) {
        Json result = {{"format", file.FormatName()},
                       {"directories", counts.directories},
                       {"values", counts.values},
                       {"comments", counts.comments}};
        if (!file.IsSound()) {
            result["problem"] = JsonText(file.Problem(), kCFStringEncodingUTF8);
        }
        result["warnings"] = Json::array();
        for (const std::string& warning : warnings) {
            result["warnings"].push_back(JsonText(warning, kCFStringEncodingUTF8));
        }
        PrintJson(session.out, result);
    } else {
        session.out << Printable(file.Name()) << ": " << file.FormatName()
                    << " format, directories " << std::to_string(counts.directories) << ", values "
                    << std::to_string(counts.values) << ", comments "
                    << std::to_string(counts.comments)
                    << (file.IsSound() ? "\n" : ", before the fault\n");
    }
    session.out.Flush();
    for (const std::string& warning : warnings) {
        Complain(warning);
        session.SetStatus(Exit::Failed);
    }
    file.ReportProblem(session);
}

struct AppArguments {
    std::string key;
    std::string valueName;
    bool json = false;
};

// Asks the framework's own object, so that the answer is the one that the framework gets.
void showApplication(const AppArguments& arguments, Session& session) {
    const auto& [given, valueName, json] = arguments;
    const std::string name = RegistryFile::SharedPath();
    Tova::CString own;
    if (given.empty() && !Tova::AppGetVariable("AppKey", own)) {
        Fail(Exit::NotFound, "registry app", "there is no variable AppKey; give a KEY");
    }
    const std::string key = given.empty() ? own.CStr() : given;
    // Reads the file itself too, because the framework does not say why it finds less.
    const RegistryFile file(name);
    const Tova::CNWRegistry registry(key.c_str(), Tova::CNWRegistry::UserDirectory::LeaveOut);
    const Tova::CRegNode* directory = registry.AppDir().GetNode();
    const bool made = directory == nullptr || directory->IsModified();
    const Tova::CRegNode* inFile = file.Tree().GetNode()->DeepFind(key.c_str());
    if (file.IsSound() && inFile != nullptr && inFile->IsDirectory() &&
        (made || CountTree(*directory) != CountTree(*inFile))) {
        throw std::bad_alloc();  // the framework's, which says nothing of it
    }
    const Tova::CRegNode* found =
        made || valueName.empty() ? directory : directory->DeepFind(valueName.c_str());
    if (made || found == nullptr || (!valueName.empty() && found->IsDirectory())) {
        file.ReportProblem(session);
        Fail(file.IsSound() ? Exit::NotFound : Exit::Damaged, name,
             made ? "has no directory for the application " + Quote(key)
                  : "has no value " + Quote(valueName) + " for the application " + Quote(key));
    }
    if (json) {
        session.out << "{\n  \"file\": " << JsonText(name, kCFStringEncodingUTF8).dump()
                    << ",\n  \"application\": " << JsonText(key).dump() << ",\n  \"entries\": ";
        PrintTreeJson(session.out, *found);
        session.out << "\n}\n";
    } else {
        session.out << "; " << Printable(name) << "\n";
        PrintTree(session.out, *found);
    }
    file.ReportProblem(session);
}

void addPlace(CLI::App& command, Arguments& arguments, const std::string& pathHelp) {
    AddText(command, "FILE", arguments.file,
            std::string(cFileHelp) + ".\nOne argument that names no file is PATH in the shared "
                                     "registry");
    AddText(command, "PATH", arguments.path, pathHelp);
    command.add_flag("--shared", arguments.shared, "Take PATH, and the shared registry");
}

void addShow(CLI::App& registry, Session& session) {
    const auto [command, arguments] =
        AddCommand(registry, session, "show", show, "Show a registry, or a part of it, as a tree",
                   "  tvtool registry show\n"
                   "  tvtool registry show ./registry CX7/Paths --json\n"
                   "  tvtool registry show --shared CX7/Paths");
    addPlace(command, arguments, "Show what is there, such as CX7/Paths");
    addFlags(command, arguments);
}

void addGet(CLI::App& registry, Session& session) {
    const auto [command, arguments] = AddCommand(registry, session, "get", get, "Print one value",
                                                 "  tvtool registry get CX7/ProdRegURL\n"
                                                 "  tvtool registry get ./registry CX7/ProdRegURL");
    addPlace(command, arguments,
             "The names of directories and of the value, with \"/\" between them;\na directory's "
             "may be cut short");
}

void addVerify(CLI::App& registry, Session& session) {
    const auto [command, arguments] = AddCommand(registry, session, "verify", verify,
                                                 "Check a registry file and count what is in it",
                                                 "  tvtool registry verify ./registry");
    AddText(command, "FILE", arguments.file,
            std::string(cFileHelp) + ";\nwithout it, the shared registry");
    addFlags(command, arguments);
}

void addApp(CLI::App& registry, Session& session) {
    const auto [command, arguments] =
        AddCommand(registry, session, "app", showApplication,
                   "Show what the framework finds for an application on this machine",
                   "  tvtool registry app\n"
                   "  tvtool registry app CX7 ProdRegURL");
    AddText(command, "KEY", arguments.key,
            "The application's directory; without it, or \"\", the one\n"
            "that the variable AppKey names");
    AddText(command, "NAME", arguments.valueName, "One of its values");
    command.add_flag("--json", arguments.json, "Print JSON");
}

}  // namespace

void AddRegistryCommand(CLI::App& app, Session& session) {
    CLI::App& registry = *AddSubcommand(app, "registry", "Look into registry files",
                                        "  tvtool registry verify ./registry")
                              ->require_subcommand(1);
    addShow(registry, session);
    addGet(registry, session);
    addVerify(registry, session);
    addApp(registry, session);
}

}  // namespace tvtool
