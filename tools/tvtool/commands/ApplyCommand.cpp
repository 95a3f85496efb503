// tvtool apply: puts variables into a text, as the framework does.
#include "posix/CodePoint.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"
#include "tvtool/config/ApplicationVariables.h"
#include "tvtool/config/ConfigFiles.h"
#include "tvtool/config/ListEditing.h"
#include "tvtool/config/Placeholders.h"
#include "tvtool/config/SubstitutionTrail.h"
#include "vars/GlobalVars.h"

#include <algorithm>
#include <unordered_set>

namespace tvtool {

namespace {

struct ApplyOptions {
    std::string text = "-";
    std::vector<std::string> configs;
    std::vector<std::string> settings;
    std::string delimiters = "<>";
    bool list = false;
    bool strict = false;
    bool json = false;
};

struct Template {
    std::string name;  // for messages
    std::string bytes;
    StringRef decoded;
    bool isLiteral = false;
};

std::u16string parseDelimiters(const std::string& argument) {
    const StringRef text = DecodeText(argument, CFStringGetSystemEncoding());
    std::u16string pair = text ? Tova::UnitsOf(text.Get()) : u"";
    // Halves of a surrogate pair are no characters.
    const bool isPlain = std::none_of(pair.begin(), pair.end(),
                                      [](char16_t c) { return c >= 0xD800 && c <= 0xDFFF; });
    if (pair.size() != 2 || !isPlain) {
        Fail(Exit::Usage, "--delimiters " + Quote(argument),
             "give exactly two characters, the opening and the closing one");
    }
    return pair;
}

// Returns the index of the first byte that is not valid UTF-8.
std::size_t findInvalid(std::string_view text) {
    char32_t ignored = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = tvposix::DecodeCodePoint(text.substr(at), ignored);
        if (length == 0) {
            return at;
        }
        at += length;
    }
    return text.size();
}

// Reads a file, unless the argument names none and holds a placeholder: then it is the text itself.
Template readTemplate(const std::string& argument, const std::u16string& delimiters) {
    Template made;
    const CFStringEncoding system = CFStringGetSystemEncoding();
    if (argument != "-" && !Exists(argument)) {
        made.decoded = DecodeText(argument, kCFStringEncodingUTF8);
        const std::u16string units = made.decoded ? Tova::UnitsOf(made.decoded.Get()) : u"";
        const std::size_t open = units.find(delimiters[0]);
        made.isLiteral = open != units.npos && units.find(delimiters[1], open + 1) != units.npos;
    }
    made.name = made.isLiteral ? "TEXT" : InputName(argument);
    made.bytes = made.isLiteral ? argument : ReadInput(argument);
    if (!made.isLiteral) {
        made.decoded = DecodeText(made.bytes, system);
    }
    if (!made.decoded) {
        const bool isUtf8 = system == kCFStringEncodingUTF8;
        Fail(Exit::Damaged,
             isUtf8 ? At(made.name, PlaceOf(made.bytes, findInvalid(made.bytes))) : made.name,
             "is not valid in the system encoding; TV_SYSTEM_ENCODING names another");
    }
    return made;
}

void setVariables(const ApplyOptions& options, Session& session) {
    SetApplicationVariables();
    for (const std::string& path : options.configs) {
        Tova::CVarList list;
        ReadConfig(path, list);
        Tova::GlobalVars += list;
    }
    for (const std::string& setting : options.settings) {
        Assign(Tova::GlobalVars, ParseAssignment(setting), "--set", "", session);
    }
}

// What a substitution works on.
struct Task {
    std::u16string_view text;
    char16_t open;
    char16_t close;
    const Tova::WideVars& vars;

    std::vector<Placeholder> PlaceholdersIn(std::u16string_view units) const {
        return FindPlaceholders(units, open, close, vars);
    }
};

std::string nameOf(const Placeholder& placeholder) {
    return TextForPeople(Tova::StringOfUnits(placeholder.name).Get());
}

// Names each placeholder once, in the order of the text.
void listPlaceholders(const Task& task, bool json, Output& out) {
    Json array = Json::array();
    Place place;
    std::size_t offset = 0;
    std::unordered_set<std::u16string_view> seen;
    for (const Placeholder& placeholder : task.PlaceholdersIn(task.text)) {
        if (!seen.insert(placeholder.name).second) {
            continue;
        }
        const std::string name = nameOf(placeholder);
        Advance(place, task.text.substr(offset, placeholder.offset - offset));
        offset = placeholder.offset;
        if (json) {
            array.push_back({{"name", JsonText(name, kCFStringEncodingUTF8)},
                             {"defined", placeholder.isDefined},
                             {"line", place.line},
                             {"column", place.column}});
        } else {
            out << Escape(name) << "\n";
        }
    }
    if (json) {
        PrintJson(out, array);
    }
}

std::string join(const std::vector<std::string>& parts) {
    std::string joined;
    for (const std::string& part : parts) {
        joined += (joined.empty() ? "" : " -> ") + part;
    }
    return joined;
}

// Complains about every placeholder that is left in `result`: nobody defines it.
void refuseUndefined(const Task& task, const std::string& name, std::u16string_view result,
                     const SubstitutionTrail& trail) {
    static constexpr std::size_t cMost = 20;
    std::vector<Placeholder> undefined = task.PlaceholdersIn(result);
    std::erase_if(undefined, [](const Placeholder& found) { return found.isDefined; });
    std::vector<std::string> messages;
    for (const Placeholder& placeholder : undefined) {
        const std::string through = join(trail.Through(placeholder.offset));
        const Place place = PlaceOf(task.text, trail.OffsetOf(placeholder.offset));
        messages.push_back(At(name, place) + ": nobody defines " +
                           Quote(nameOf(placeholder), kCFStringEncodingUTF8) +
                           (through.empty() ? "" : ", which comes from " + through));
        if (messages.size() == cMost && undefined.size() > cMost) {
            messages.push_back(name + ": " + std::to_string(undefined.size() - cMost) +
                               " more placeholders that nobody defines");
            break;
        }
    }
    if (messages.empty()) {
        return;
    }
    const std::string last = messages.back();
    messages.pop_back();
    for (const std::string& message : messages) {
        Complain(message);
    }
    throw ToolError(Exit::Failed, last);
}

void printResult(std::u16string_view result, const Template& text, Output& out) {
    const std::optional<std::string> bytes = EncodeText(
        Tova::StringOfUnits(result).Get(),
        out.IsTerminal() ? CFStringEncoding{kCFStringEncodingUTF8} : CFStringGetSystemEncoding());
    if (!bytes) {
        Fail(Exit::Failed, text.name, "the result does not fit the system encoding");
    }
    out << *bytes << (text.isLiteral ? "\n" : "");
}

void apply(const ApplyOptions& options, Session& session) {
    if (options.json && !options.list) {
        Fail(Exit::Usage, "apply --json", "goes with --list only; add --list or leave it out");
    }
    const std::u16string delimiters = parseDelimiters(options.delimiters);
    setVariables(options, session);
    const Template text = readTemplate(options.text, delimiters);
    const std::u16string units = Tova::UnitsOf(text.decoded.Get());
    const Tova::WideVars vars(Tova::GlobalVars);
    const Task task{units, delimiters[0], delimiters[1], vars};
    if (options.list) {
        listPlaceholders(task, options.json, session.out);
        if (!options.strict) {
            return;
        }
    }
    // The library's own calls have no guard against circles; the trail is one.
    SubstitutionTrail trail(units, vars, text.name);
    Tova::ScanOutput<char16_t> out;
    Tova::Substitute(units, task.open, task.close, vars, out, trail);
    const std::u16string_view result = out.View();
    if (options.strict) {
        refuseUndefined(task, text.name, result, trail);
    }
    if (!options.list) {
        printResult(result, text, session.out);
    }
}

}  // namespace

void AddApplyCommand(CLI::App& app, Session& session) {
    const auto [command, options] = AddCommand(
        app, session, "apply", apply, "Puts variables into a text, as the framework does",
        "  echo 'Welcome to <AppName> <MajVersion>' | tvtool apply -\n"
        "  tvtool apply welcome.txt --list\n"
        "  tvtool apply welcome.txt --config Calyx.nwc --strict\n"
        "  tvtool apply welcome.txt --config Calyx.nwc --set Greeting='Good day'");
    AddText(command, "TEXT", options.text,
            "A file, or - for standard input (the default). What names no file\n"
            "and holds a placeholder is the text itself");
    AddTexts(command, "--config", options.configs,
             "Take variables from this configuration file too; can be repeated")
        ->type_name("FILE");
    AddTexts(command, "--set", options.settings,
             "A variable, or %NAME=VALUE for a fixed one; can be repeated")
        ->type_name("NAME=VALUE");
    AddText(command, "--delimiters", options.delimiters,
            "The two characters around a name instead of <>")
        ->type_name("XY");
    command.add_flag("--list", options.list, "Only name the placeholders in the text");
    command.add_flag("--json", options.json, "With --list: as an array of objects");
    command.add_flag("--strict", options.strict,
                     "Fail, with the place, where nobody defines a placeholder");
}

}  // namespace tvtool
