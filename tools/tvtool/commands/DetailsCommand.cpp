// tvtool details: the user's registration details in configuration files and in the preferences.
#include "interface/DictStrings.h"
#include "interface/RegInfoStorage.h"
#include "text/CEmailAddress.h"
#include "tvtool/base/DetailFields.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ConfigFiles.h"
#include "tvtool/config/ListEditing.h"
#include "tvtool/details/Preferences.h"
#include "tvtool/details/SendDetails.h"

#include <algorithm>
#include <array>
#include <optional>

namespace tvtool {

namespace {

constexpr std::size_t cCount = cDetailFields.size();
constexpr std::array<const char*, cCount> cOptionNames = {"--first-name", "--last-name",
                                                          "--organisation", "--email"};

bool isValidAddress(const std::string& address) {
    // A NUL would hide the rest.
    return address.find('\0') == address.npos &&
           Tova::CEmailAddress(Tova::CString(address.c_str())).IsValid();
}

struct ReadOptions {
    std::string config;
    bool prefs = false;
    bool json = false;
    bool damaged = false;
};

void loadFromPreferences(Tova::CRegInfo& record) {
    LoadPreferences();
    if (Tova::CPrefsRegInfo::Load(record)) {
        return;
    }
    std::string missing;
    for (const DetailField& field : cDetailFields) {
        Tova::CString value;
        if (!Tova::ReadValue(Tova::CString(field.variable), value)) {
            missing += (missing.empty() ? "RegisterInfo/" : ", ") + std::string(field.variable);
        }
    }
    Fail(Exit::NotFound, cPreferences, "no text for " + missing + "; all four are needed");
}

void readDetails(const ReadOptions& options, Session& session) {
    if (options.config.empty() == !options.prefs) {
        Fail(Exit::Usage, "details read", "give either --config FILE or --prefs");
    }
    if (options.damaged && options.prefs) {
        Fail(Exit::Usage, "details read --damaged", "goes with --config only");
    }
    Tova::CRegInfo record;
    if (options.prefs) {
        loadFromPreferences(record);
    } else {
        Tova::CVarList list;
        if (!options.damaged) {
            ReadConfig(options.config, list);
        } else if (!ReadDamagedConfig(options.config, list)) {
            session.SetStatus(Exit::Damaged);
        }
        record.SetFromVars(list);
    }
    Json object = Json::object();
    for (std::size_t i = 0; i < cCount; ++i) {
        const DetailField& field = cDetailFields[i];
        const char* value = record.Fields()[i].CStr();
        if (options.json) {
            object[TextForPeople(field.key())] = JsonText(value);
        } else {
            session.out << LabelledLine(field.label, EscapeSystem(value));
        }
    }
    if (options.json) {
        PrintJson(session.out, object);
    }
}

struct WriteOptions {
    std::string file;
    std::string from;
    // By field. The last one counts; without one the field stays.
    std::array<std::vector<std::string>, cCount> values;
    SendOptions send;

    bool HasRequest() const { return send.send || send.dryRun; }
};

using Values = std::array<std::optional<std::string>, cCount>;

void requireLength(const DetailField& field, const std::string& value, Exit status,
                   const std::string& subject) {
    if (value.size() > field.longest) {
        Fail(status, subject,
             "has " + std::to_string(value.size()) + " bytes; the framework keeps at most " +
                 std::to_string(field.longest));
    }
}

// Reads a JSON object with the keys of an installer's dictionary into `values`.
void parseDetails(const std::string& file, Values& values) {
    const std::string name = InputName(file);
    const ParsedJson object = ParseJson(ReadInput(file), name);
    if (!object.is_object()) {
        Fail(Exit::Damaged, name, "is no JSON object with the details");
    }
    for (const auto& [key, value] : object.items()) {
        const std::string where = name + ": " + Quote(key, kCFStringEncodingUTF8);
        std::size_t i = 0;
        while (i < cCount && TextForPeople(cDetailFields[i].key()) != key) {
            ++i;
        }
        if (i < cCount) {
            values[i] = TextFromJson(value, where);
            requireLength(cDetailFields[i], *values[i], Exit::Damaged, where);
        } else if (key != TextForPeople(Tova::SendKey())) {
            Fail(Exit::Damaged, where, "is no key; those are FNKey, LNKey, OrKey and EAKey");
        }
    }
}

Values collectValues(const WriteOptions& options) {
    Values values;
    if (!options.from.empty()) {
        parseDetails(options.from, values);
    }
    for (std::size_t i = 0; i < cCount; ++i) {
        if (!options.values[i].empty()) {
            values[i] = options.values[i].back();
            requireLength(cDetailFields[i], *values[i], Exit::Usage, cOptionNames[i]);
        }
    }
    if (!options.HasRequest() &&
        std::none_of(values.begin(), values.end(), [](const auto& v) { return v.has_value(); })) {
        Fail(Exit::Usage, "details write", "give at least one detail, or --from FILE");
    }
    return values;
}

// Returns the record that results if `values` replace those in `list`.
Tova::CRegInfo merge(const Tova::CVarList& list, const Values& values) {
    Tova::CVarList merged;
    for (std::size_t i = 0; i < cCount; ++i) {
        const char* name = cDetailFields[i].variable;
        merged.SetValue(name, values[i] ? values[i]->c_str() : list.GetValue(name), false);
    }
    return Tova::CRegInfo(merged);
}

void requireOptionsThatFit(const WriteOptions& options) {
    if (options.file == "-" && options.from == "-") {
        Fail(Exit::Usage, "details write", "standard input cannot be both FILE and --from");
    }
    if ((!options.send.to.empty() || !options.send.wait.empty()) && !options.HasRequest()) {
        Fail(Exit::Usage, "details write", "--to and --wait go with --send or --dry-run");
    }
}

// Says which values a fixed variable of the file kept out, and whether the address looks wrong.
void complainOfValues(const Values& values, const Tova::CVarList& list, const std::string& name,
                      Session& session) {
    for (std::size_t i = 0; i < cCount; ++i) {
        const char* variable = cDetailFields[i].variable;
        if (values[i] && *values[i] != list.GetValue(variable)) {
            TellThatFixed(variable, name, cHintToUnset, session);
        }
    }
    const std::optional<std::string>& email = values.back();
    if (email && !email->empty() && !isValidAddress(*email)) {
        Complain(name + ": " + Quote(*email) + " is no valid e-mail address (saved)");
    }
}

// Saves like the framework, but beside the file and renames. It sends after that, so that a failure
// to send is told from a failure to save.
void writeDetails(const WriteOptions& options, Session& session) {
    requireOptionsThatFit(options);
    const Values values = collectValues(options);
    std::optional<OutputFile> file;
    if (!options.send.dryRun) {
        file.emplace(options.file);
    }
    Tova::CVarList list;
    ReadConfig(options.file, list);
    const std::string before = EncodeConfig(list);
    const Tova::CRegInfo record = merge(list, values);
    std::optional<DetailsRequest> request;
    if (options.HasRequest()) {
        request.emplace(record, options.send);
    }
    if (options.send.dryRun) {
        session.out << request->Describe();
        session.out.Flush();
        Complain("would go to " + request->Destination() + "; nothing was saved or sent");
        return;
    }
    record.SetVariables(list);
    complainOfValues(values, list, InputName(options.file), session);
    const std::string after = EncodeConfig(list);
    if (after != before || options.file == "-") {
        file->Write(after);
    }
    // Others need not wait for the answer.
    file.reset();
    if (request) {
        const std::string answer = "sent to " + request->Origin() + ": " + request->Send();
        // Standard output may have the file.
        options.file == "-" ? Complain(answer) : session.out.PrintValue(answer);
    }
}

struct CheckOptions {
    std::vector<std::string> addresses;
    bool json = false;
};

// Puts the lines of standard input in the place of "-".
std::vector<std::string> collectAddresses(const CheckOptions& options) {
    std::vector<std::string> addresses;
    for (const std::string& address : options.addresses) {
        if (address != "-") {
            addresses.push_back(address);
            continue;
        }
        const std::string text = ReadInput("-");
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            addresses.push_back(text.substr(at, end - at));
            at = end + 1;
        }
    }
    return addresses;
}

void checkAddresses(const CheckOptions& options, Session& session) {
    Json array = Json::array();
    for (const std::string& address : collectAddresses(options)) {
        const bool isValid = isValidAddress(address);
        if (!isValid) {
            session.SetStatus(Exit::Damaged);
        }
        if (options.json) {
            array.push_back({{"address", JsonText(address)}, {"valid", isValid}});
        } else {
            session.out << Escape(address) << ": " << (isValid ? "valid" : "not valid") << "\n";
        }
    }
    if (options.json) {
        PrintJson(session.out, array);
    }
}

void addRead(CLI::App& details, Session& session) {
    const auto [command, options] =
        AddCommand<ReadOptions>(details, session, "read", readDetails, "Shows the details",
                                "  tvtool details read --config Calyx.nwc\n"
                                "  tvtool details read --prefs");
    AddText(command, "--config", options.config,
            "Read this configuration file; - is standard input")
        ->type_name("FILE");
    command.add_flag("--prefs", options.prefs, "Read this user's preferences");
    command.add_flag("--json", options.json,
                     "As an object with the keys of an installer's dictionary");
    command.add_flag("--damaged", options.damaged,
                     "Take what can be read of a damaged file; the exit status is 4 then");
}

void addWrite(CLI::App& details, Session& session) {
    const auto [command, options] = AddCommand<WriteOptions>(
        details, session, "write", writeDetails,
        "Saves details into an existing configuration file",
        "  tvtool details write Calyx.nwc --first-name Ada --email ada@example.org\n"
        "  tvtool details write Calyx.nwc --from - <details.json\n"
        "  tvtool details write Calyx.nwc --send --to http://127.0.0.1:8080/");
    AddText(command, "FILE", options.file, "The configuration file")->required();
    for (std::size_t i = 0; i < cCount; ++i) {
        const std::string longest = std::to_string(cDetailFields[i].longest);
        AddTexts(command, cOptionNames[i], options.values[i],
                 "At most " + longest + " bytes; \"\" empties it")
            ->type_name("TEXT");
    }
    AddText(command, "--from", options.from,
            "Take details from a JSON object with the keys FNKey, LNKey, OrKey\n"
            "and EAKey; - is standard input, which other users cannot see")
        ->type_name("FILE");
    AddSendOptions(command, options.send);
}

void addCheck(CLI::App& details, Session& session) {
    const auto [command, options] =
        AddCommand<CheckOptions>(details, session, "check", checkAddresses,
                                 "Says whether e-mail addresses have a valid form",
                                 "  tvtool details check ada@example.org ada@example");
    AddTexts(command, "ADDRESS", options.addresses,
             "The addresses; - takes the lines of standard input")
        ->required();
    command.add_flag("--json", options.json, "As an array of {\"address\", \"valid\"}");
}

}  // namespace

void AddDetailsCommand(CLI::App& app, Session& session) {
    CLI::App& details =
        *AddSubcommand(app, "details", "Shows, saves and checks the user's registration details",
                       "  tvtool details read --prefs")
             ->require_subcommand(1);
    addRead(details, session);
    addWrite(details, session);
    addCheck(details, session);
}

}  // namespace tvtool
