// tvtool prefs: the product's preferences of this user.
#include "interface/CPrefs.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"
#include "tvtool/details/Preferences.h"

#include <algorithm>
#include <cstdint>
#include <memory>

namespace tvtool {

namespace {

using ValueRef = Tova::CFRef<CFTypeRef>;

struct PrefsOptions {
    std::string file;
    std::string key;
    std::string value;
    bool json = false;
};

StringRef decode(const std::string& argument) {
    StringRef text = DecodeText(argument, CFStringGetSystemEncoding());
    if (!text) {
        Fail(Exit::Usage, Quote(argument), "is not valid in the system encoding");
    }
    return text;
}

ValueRef copyValue(CFStringRef key) {
    return ValueRef(CFPreferencesCopyValue(key, Tova::CPrefs::Domain(), kCFPreferencesCurrentUser,
                                           kCFPreferencesAnyHost));
}

ValueRef findValue(const std::string& key) {
    ValueRef value = copyValue(decode(key).Get());
    if (!value) {
        Fail(Exit::NotFound, cPreferences,
             "no key " + Quote(key) + "; 'tvtool prefs list' shows all");
    }
    return value;
}

// Returns false if the platform cannot hold the value, and so has ignored it.
bool storeValue(CFStringRef key, CFTypeRef value) {
    CFPreferencesSetValue(key, value, Tova::CPrefs::Domain(), kCFPreferencesCurrentUser,
                          kCFPreferencesAnyHost);
    const ValueRef stored = copyValue(key);
    return value == nullptr || (stored && CFEqual(stored.Get(), value) != 0);
}

// Other programs may have stored values that are not texts. Returns null for a value that is not
// even a number or a Boolean.
Json valueToJson(CFTypeRef value) {
    if (CFGetTypeID(value) == CFStringGetTypeID()) {
        return EncodeText(static_cast<CFStringRef>(value), kCFStringEncodingUTF8).value_or("");
    }
    if (CFGetTypeID(value) == CFBooleanGetTypeID()) {
        return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    }
    if (CFGetTypeID(value) != CFNumberGetTypeID()) {
        return nullptr;
    }
    const auto number = static_cast<CFNumberRef>(value);
    if (CFNumberIsFloatType(number)) {
        double real = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &real);
        return real;
    }
    SInt64 integer = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
    return integer;
}

std::string valueToText(CFTypeRef value) {
    if (CFGetTypeID(value) == CFStringGetTypeID()) {
        return TextForPeople(static_cast<CFStringRef>(value));
    }
    const Json json = valueToJson(value);
    return json.is_null() ? "(neither a text nor a number)" : json.dump();
}

template <class Use>
void forEachKey(Use use) {
    const Tova::CFRef<CFArrayRef> keys(CFPreferencesCopyKeyList(
        Tova::CPrefs::Domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    for (CFIndex i = 0, count = keys ? CFArrayGetCount(keys.Get()) : 0; i < count; ++i) {
        const auto key = static_cast<CFStringRef>(CFArrayGetValueAtIndex(keys.Get(), i));
        if (const ValueRef value = copyValue(key)) {
            use(key, value.Get());
        }
    }
}

// A look-up in an object that keeps its order would take longer with every key.
void append(Json& object, CFStringRef key, Json value) {
    object.get_ref<Json::object_t&>().push_back(
        {EncodeText(key, kCFStringEncodingUTF8).value_or(""), std::move(value)});
}

void listKeys(const PrefsOptions& options, Session& session) {
    LoadPreferences();
    std::vector<std::string> lines;
    Json object = Json::object();
    forEachKey([&](CFStringRef key, CFTypeRef value) {
        append(object, key, valueToJson(value));
        lines.push_back(Escape(TextForPeople(key), "=") + "=" + Escape(valueToText(value)) + "\n");
    });
    if (options.json) {
        return PrintJson(session.out, object);
    }
    std::sort(lines.begin(), lines.end());
    for (const std::string& line : lines) {
        session.out << line;
    }
}

void printValue(const PrefsOptions& options, Session& session) {
    LoadPreferences();
    const ValueRef value = findValue(options.key);
    if (options.json) {
        PrintJson(session.out, valueToJson(value.Get()));
    } else {
        session.out.PrintValue(valueToText(value.Get()));
    }
}

// Prints what importing stores again.
void exportKeys(const PrefsOptions&, Session& session) {
    LoadPreferences();
    Json object = Json::object();
    forEachKey([&](CFStringRef key, CFTypeRef value) {
        const Json json = valueToJson(value);
        const bool isWhole =
            EncodeText(key, kCFStringEncodingUTF8) &&
            (json.is_string()
                 ? EncodeText(static_cast<CFStringRef>(value), kCFStringEncodingUTF8).has_value()
                 : !json.is_null() && json.dump() != "null");
        if (isWhole) {
            append(object, key, json);
            return;
        }
        Complain(std::string(cPreferences) + ": " +
                 Quote(TextForPeople(key), kCFStringEncodingUTF8) +
                 " has a value that JSON does not have, and is left out");
        session.SetStatus(Exit::Failed);
    });
    PrintJson(session.out, object);
}

ValueRef valueFromJson(const ParsedJson& json, const std::string& where) {
    if (json.is_boolean()) {
        return ValueRef(CFRetain(json.get<bool>() ? kCFBooleanTrue : kCFBooleanFalse));
    }
    if (json.is_number_float()) {
        const double real = json.get<double>();
        return ValueRef(CFNumberCreate(nullptr, kCFNumberDoubleType, &real));
    }
    if (json.is_number() &&
        (!json.is_number_unsigned() || json.get<std::uint64_t>() <= INT64_MAX)) {
        const SInt64 integer = json.get<SInt64>();
        return ValueRef(CFNumberCreate(nullptr, kCFNumberSInt64Type, &integer));
    }
    if (!json.is_string()) {
        Fail(Exit::Damaged, where, "must be a text, a 64-bit number, true or false");
    }
    const StringRef text = DecodeText(json.get_ref<const std::string&>(), kCFStringEncodingUTF8);
    return ValueRef(text ? CFRetain(text.Get()) : nullptr);
}

// Stores all or, if anything is wrong, nothing. Other keys stay.
void importKeys(const PrefsOptions& options, Session&) {
    const std::string name = InputName(options.file);
    const ParsedJson object = ParseJson(ReadInput(options.file), name);
    if (!object.is_object()) {
        Fail(Exit::Damaged, name, "is no JSON object with keys and values");
    }
    LoadPreferencesToWrite();
    for (const auto& [key, json] : object.items()) {
        const std::string where = name + ": " + Quote(key, kCFStringEncodingUTF8);
        const ValueRef value = valueFromJson(json, where);
        const StringRef text = DecodeText(key, kCFStringEncodingUTF8);
        if (!text || !value || !storeValue(text.Get(), value.Get())) {
            Fail(Exit::Damaged, where, "a key or text with control characters cannot be stored");
        }
    }
    SavePreferences();
}

void setValue(const PrefsOptions& options, Session&) {
    const StringRef key = decode(options.key);
    const StringRef value = decode(options.value);
    LoadPreferencesToWrite();
    if (!storeValue(key.Get(), value.Get())) {
        Fail(Exit::Usage, cPreferences, "cannot hold this: a key or text with control characters");
    }
    SavePreferences();
}

void deleteKey(const PrefsOptions& options, Session&) {
    LoadPreferences();
    static_cast<void>(findValue(options.key));
    storeValue(decode(options.key).Get(), nullptr);
    SavePreferences();
}

}  // namespace

void AddPrefsCommand(CLI::App& app, Session& session) {
    CLI::App& prefs =
        *AddSubcommand(app, "prefs", "Looks into this user's preferences", "  tvtool prefs list")
             ->require_subcommand(1);
    const auto addKey = [](const Command<PrefsOptions>& command) {
        AddText(command.app, "KEY", command.options.key, "The key, exactly")->required();
    };

    const auto list = AddCommand(prefs, session, "list", listKeys, "Shows all keys and values",
                                 "  tvtool prefs list");
    list.app.add_flag("--json", list.options.json, "As an object");
    const auto get = AddCommand(prefs, session, "get", printValue, "Prints the value of a key",
                                "  tvtool prefs get RegisterInfo/RegFirstName");
    addKey(get);
    get.app.add_flag("--json", get.options.json, "As a JSON value");
    const auto set = AddCommand(prefs, session, "set", setValue, "Stores a text under a key",
                                "  tvtool prefs set RegisterInfo/RegFirstName Ada");
    addKey(set);
    AddText(set.app, "VALUE", set.options.value, "The text, taken literally")->required();
    AddCommand(prefs, session, "export", exportKeys, "Prints all keys and values as JSON",
               "  tvtool prefs export >prefs.json");
    const auto import = AddCommand(prefs, session, "import", importKeys,
                                   "Stores the keys and values that export printed",
                                   "  tvtool prefs import prefs.json");
    AddText(import.app, "FILE", import.options.file,
            "A JSON object; - is standard input. Other keys stay")
        ->required();
    addKey(AddCommand(prefs, session, "delete", deleteKey, "Removes a key",
                      "  tvtool prefs delete RegisterInfo/RegFirstName"));
}

}  // namespace tvtool
