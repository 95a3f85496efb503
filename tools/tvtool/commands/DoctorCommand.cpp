// tvtool doctor: tells what the framework would do on this machine, and why.
#include "interface/AppVariables.h"
#include "interface/CPrefs.h"
#include "posix/UserFolders.h"
#include "text/CFRef.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ApplicationVariables.h"
#include "tvtool/config/ConfigFiles.h"
#include "tvtool/details/Preferences.h"
#include "tvtool/details/SendDetails.h"
#include "tvtool/details/WebExchange.h"
#include "tvtool/registry/RegistryDump.h"
#include "tvtool/registry/RegistryFile.h"
#include "tvtool/registry/RegistryWarnings.h"
#include "vars/GlobalVars.h"

#include <CFNetwork/CFNetwork.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace tvtool {

namespace {

struct DoctorOptions {
    std::string bundle;
    bool json = false;
};

// The texts are UTF-8.
struct Finding {
    std::string item;
    std::string value;
    std::string source;   // why it is so, or ""
    std::string warning;  // what will not work, or ""
};

// Returns "" or the message of the ToolError that `action` throws, without its subject if that is
// `subject`.
template <class Action>
std::string problemOf(const std::string& subject, Action action) {
    try {
        action();
    } catch (const ToolError& error) {
        const std::string message = error.what();
        return message.starts_with(subject + ": ") ? message.substr(subject.size() + 2) : message;
    }
    return {};
}

std::string countOf(long count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string settingOf(const char* variable) {
    const char* value = secure_getenv(variable);
    return value == nullptr ? "" : value;
}

Finding examineLibrary(const std::string& bundle) {
    const std::string path = LibraryIn(bundle);
    if (bundle.empty() || !Exists(path)) {
        return {"Library", bundle.empty() ? "(none)" : path, "",
                "there is no library here; install it, or name its folder with --bundle"};
    }
    // The path has a slash, so that no other library of the name is found.
    void* library =
        dlopen((path.starts_with('/') ? path : "./" + path).c_str(), RTLD_NOW | RTLD_LOCAL);
    const bool isComplete = library != nullptr && dlsym(library, "tvWriteRegInfo") != nullptr;
    return {"Library", path, isComplete ? "can be loaded" : "", isComplete ? "" : dlerror()};
}

// Reads the bundle's configuration file into `list`.
Finding examineConfiguration(const std::string& bundle, Tova::CVarList& list) {
    const std::string path = ConfigurationIn(bundle);
    const std::string problem = problemOf(path, [&] { ReadConfig(path, list); });
    if (!problem.empty()) {
        list.Empty();
        return {"CXMnwc", path, "", problem + "; the built-in variables alone hold"};
    }
    long count = 0;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        ++count;
    }
    return {"CXMnwc", path, "in order, " + countOf(count, "variable"), ""};
}

void examineVariables(const Tova::CVarList& own, std::vector<Finding>& findings) {
    Tova::CVarList builtIn;
    Tova::SetBuiltInVariables(builtIn);
    for (const Tova::CVar* var = Tova::GlobalVars.First(); var != nullptr; var = var->Next()) {
        const Tova::CVar* given = own.FindVar(var->Name());
        const Tova::CVar* first = builtIn.FindVar(var->Name());
        const bool isBuiltIn = given == nullptr || (first != nullptr && first->IsFixed());
        findings.push_back({"  " + TextForPeople(var->Name()), TextForPeople(var->Value()),
                            std::string(isBuiltIn ? "built in" : "CXMnwc") +
                                (var->IsFixed() ? ", fixed" : "") +
                                (isBuiltIn && given != nullptr ? "; CXMnwc cannot change it" : ""),
                            ""});
    }
}

Finding examineKey(std::string& key) {
    Tova::CString value;
    Tova::AppGetVariable("AppKey", value);
    key = value.CStr();
    return {"Application key", key.empty() ? "(none)" : TextForPeople(key), "the variable AppKey",
            key.empty() ? "without a key nothing is found in the shared registry" : ""};
}

Finding examineRegistry(const std::string& key) {
    Finding found{"Shared registry", "(none)", "", ""};
    const char* named = Tova::GlobalVars.GetValue("NWRegistry");
    const std::string reason =
        named == nullptr ? "the default place" : "the variable NWRegistry, " + Quote(named);
    found.warning = problemOf("shared registry", [&] { found.value = RegistryFile::SharedPath(); });
    found.source = reason;
    if (!found.warning.empty()) {
        return found;
    }
    if (!Exists(found.value)) {
        found.source += "; there is none";
        return found;
    }
    found.warning = problemOf(found.value, [&] {
        const RegistryFile file(found.value);
        const TreeCounts counts = CountTree(*file.Tree().GetNode());
        const Tova::CRegNode* directory =
            key.empty() ? nullptr : file.Tree().GetNode()->DeepFind(key.c_str());
        found.source += std::string("; ") + file.FormatName() + " format, " +
                        countOf(static_cast<long>(file.Bytes().size()), "byte") + ", " +
                        countOf(counts.values, "value") +
                        (directory == nullptr && !key.empty() ? ", nothing for " + Quote(key) : "");
        if (!file.IsSound()) {
            throw ToolError(Exit::Damaged, file.Problem());
        }
        if (const std::vector<std::string> warnings = WarningsOf(file); !warnings.empty()) {
            throw ToolError(Exit::Failed,
                            warnings.front() + "; 'tvtool registry verify' tells all");
        }
    });
    return found;
}

// Adds what concerns the network: the address, the way there, and the certificates.
void examineRegistration(std::vector<Finding>& findings) {
    const RegistrationAddress address = FindRegistrationAddress();
    Finding found{"Registration", "(none)", address.source, ""};
    Proxy proxy = FindProxy("https", "");
    bool isHttps = true;
    if (address.address.empty()) {
        found.warning = "there is no address, so nothing is sent";
    } else {
        found.value = WithoutPassword(address.address);
        found.warning = problemOf(address.source, [&] {
            const DetailsRequest request{Tova::CRegInfo(), SendOptions()};
            isHttps = request.Origin().starts_with("https");
            proxy = request.Way();
        });
    }
    findings.push_back(found);
    findings.push_back({"Proxy", proxy.address.empty() ? "(none)" : WithoutPassword(proxy.address),
                        proxy.variable, ""});

    Finding store{"Certificates", settingOf("SSL_CERT_FILE"), "SSL_CERT_FILE", ""};
    const std::string folder = settingOf("SSL_CERT_DIR");
    if (!store.value.empty()) {
        store.warning = problemOf(store.value, [&] {
            if (ReadInput(store.value).find("CERTIFICATE-----") == std::string::npos) {
                Fail(Exit::Damaged, store.value, "holds no certificate (PEM)");
            }
        });
    } else if (!folder.empty()) {
        store = {"Certificates", folder, "SSL_CERT_DIR",
                 Exists(folder) ? "" : "there is no such folder"};
    } else {
        constexpr std::array<const char*, 3> cStores = {"/etc/ssl/certs/ca-certificates.crt",
                                                        "/etc/pki/tls/certs/ca-bundle.crt",
                                                        "/etc/ssl/cert.pem"};
        const auto* known = std::find_if(cStores.begin(), cStores.end(), Exists);
        store = {"Certificates", known != cStores.end() ? *known : "(none)", "the system's", ""};
        store.warning = known == cStores.end() && isHttps
                            ? "no server is trusted; install the package ca-certificates"
                            : "";
    }
    findings.push_back(store);
}

// Asks a port of this machine, where usually nothing listens, so that the module is loaded.
Finding examineHttp() {
    setenv("no_proxy", "*", 1);
    const WebResult result =
        FetchAndWait(CFSTR("http://127.0.0.1:1/"), CFSTR("tvtool"), 5, [](long) {});
    const bool isLacking = result.end == WebResult::End::Failed &&
                           result.error.domain == kCFStreamErrorDomainPOSIX &&
                           (result.error.error == ENOSYS || result.error.error == EAGAIN);
    return {"HTTP support", isLacking ? "lacking" : "can be loaded", "",
            isLacking ? DescribeError(result.error, false) : ""};
}

Finding examineEncoding() {
    const std::string named = settingOf("TV_SYSTEM_ENCODING");
    if (named.empty()) {
        return {"Text encoding", TV_DEFAULT_SYSTEM_ENCODING, "this build's default", ""};
    }
    const StringRef name = DecodeText(named, kCFStringEncodingUTF8);
    const bool isKnown =
        name && CFStringConvertIANACharSetNameToEncoding(name.Get()) == CFStringGetSystemEncoding();
    return {"Text encoding", isKnown ? named : TV_DEFAULT_SYSTEM_ENCODING, "TV_SYSTEM_ENCODING",
            isKnown ? ""
                    : Quote(named, kCFStringEncodingUTF8) +
                          " is no character set that texts can have, so it is ignored"};
}

Finding examinePreferences() {
    Finding found{"Preferences", "(none)", "", ""};
    found.warning = problemOf(cPreferences, [&] { found.value = PreferencesPath(); });
    if (!found.warning.empty()) {
        return found;
    }
    struct stat info = {};
    const bool isThere = stat(found.value.c_str(), &info) == 0;
    found.source = isThere ? "" : "there is no file yet";
    found.warning = problemOf(found.value, [&] {
        LoadPreferences();
        const Tova::CFRef<CFArrayRef> keys(CFPreferencesCopyKeyList(
            Tova::CPrefs::Domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
        if (isThere) {
            found.source = countOf(keys ? CFArrayGetCount(keys.Get()) : 0, "key");
        }
        RequireWritablePreferences();
        if (isThere && (info.st_mode & 077) != 0) {
            Fail(Exit::Failed, found.value, "others may look into it; chmod 600 stops that");
        }
    });
    return found;
}

// A setting that is no absolute path has no effect.
std::string warningOfFolder(const char* variable) {
    const std::string value = settingOf(variable);
    return value.empty() || value.starts_with('/') ? ""
                                                   : std::string(variable) + " is " + Quote(value) +
                                                         ", no absolute path, and is ignored";
}

void examineFolders(std::vector<Finding>& findings) {
    const std::tuple<const char*, const char*, std::optional<tvposix::FolderPlace>> folders[] = {
        {"Configuration folder", "XDG_CONFIG_HOME", tvposix::FindConfigFolder()},
        {"Data folder", "XDG_DATA_HOME", tvposix::FindDataFolder()},
    };
    for (const auto& [item, variable, place] : folders) {
        const bool isNamed = settingOf(variable).starts_with('/');
        const bool hasHome = settingOf("HOME").starts_with('/');
        findings.push_back({item, place ? place->path : "(none)",
                            isNamed   ? variable
                            : hasHome ? "below HOME"
                                      : "below the home in the password file",
                            place ? warningOfFolder(variable) : "set HOME"});
    }
    const std::string machine = settingOf("TV_MACHINE_DATA_DIR");
    const bool isNamed = machine.starts_with('/');
    const std::string path = isNamed ? machine : TV_DEFAULT_MACHINE_DATA_DIR;
    findings.push_back(
        {"Machine data folder", path, isNamed ? "TV_MACHINE_DATA_DIR" : "this build's default",
         !Exists(path) ? "there is no such folder" : warningOfFolder("TV_MACHINE_DATA_DIR")});
}

void printForPeople(const std::vector<Finding>& findings, Output& out) {
    constexpr std::size_t cColumn = 23;
    const char* const colour = out.IsColoured() ? "\x1B[33m" : "";
    const char* const plain = out.IsColoured() ? "\x1B[0m" : "";
    for (const Finding& found : findings) {
        std::string line = (found.warning.empty() ? "  " : "! ") + Escape(found.item);
        line.resize(std::max(line.size() + 1, cColumn), ' ');
        out << line << Escape(found.value)
            << (found.source.empty() ? "" : "  (" + Printable(found.source) + ")") << "\n";
        if (!found.warning.empty()) {
            out << std::string(cColumn, ' ') << colour << Printable(found.warning) << plain << "\n";
        }
    }
}

void printJson(const std::vector<Finding>& findings, Output& out) {
    const auto textOf = [](const std::string& text) {
        return JsonText(text, kCFStringEncodingUTF8);
    };
    const auto orNull = [&](const std::string& text) {
        return text.empty() ? Json(nullptr) : textOf(text);
    };
    Json array = Json::array();
    for (const Finding& found : findings) {
        array.push_back({{"item", textOf(found.item.substr(found.item.find_first_not_of(' ')))},
                         {"value", textOf(found.value)},
                         {"source", orNull(found.source)},
                         {"warning", orNull(found.warning)}});
    }
    PrintJson(out, array);
}

void examine(const DoctorOptions& options, Session& session) {
    const std::string bundle = options.bundle.empty() ? FindBundle() : options.bundle;
    if (!options.bundle.empty() && !Exists(bundle)) {
        Fail(Exit::NotFound, bundle, "there is no such folder; name a TVframework.framework");
    }
    // The framework makes a missing folder of the machine when it looks for the shared registry.
    std::vector<Finding> folders;
    examineFolders(folders);
    std::vector<Finding> findings{examineLibrary(bundle)};
    Tova::CVarList own;
    findings.push_back(examineConfiguration(bundle, own));
    Tova::SetBuiltInVariables(Tova::GlobalVars);
    Tova::GlobalVars += own;
    examineVariables(own, findings);
    std::string key;
    findings.push_back(examineKey(key));
    findings.push_back(examineRegistry(key));
    examineRegistration(findings);
    findings.push_back(examineHttp());
    findings.push_back(examineEncoding());
    findings.push_back(examinePreferences());
    std::move(folders.begin(), folders.end(), std::back_inserter(findings));

    options.json ? printJson(findings, session.out) : printForPeople(findings, session.out);
    const auto warnings = std::count_if(findings.begin(), findings.end(),
                                        [](const Finding& it) { return !it.warning.empty(); });
    if (warnings > 0) {
        session.SetStatus(Exit::Failed);
    }
    if (!options.json) {
        session.out << (warnings == 0 ? "Everything here works.\n"
                                      : countOf(warnings, "warning") + ".\n");
    }
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Session& session) {
    const auto [command, options] = AddCommand<DoctorOptions>(
        app, session, "doctor", examine,
        "Tells what the framework would do on this machine, and why", "  tvtool doctor");
    AddText(command, "--bundle", options.bundle,
            "Examine this TVframework.framework, whose library is loaded;\n"
            "otherwise the one that is installed beside the tool")
        ->type_name("DIR");
    command.add_flag("--json", options.json,
                     "As an array of {\"item\", \"value\", \"source\", \"warning\"}");
}

}  // namespace tvtool
