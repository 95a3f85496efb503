// tvtool prefs: the product's preferences of this user.
#include "interface/CPrefs.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"
#include "tvtool/details/Preferences.h"

#include <algorithm>
#include <memory>

namespace tvtool {

namespace {

using ValueRef = Tova::CFRef<CFTypeRef>;

struct PrefsOptions {
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

void storeValue(CFStringRef key, CFTypeRef value) {
    CFPreferencesSetValue(key, value, Tova::CPrefs::Domain(), kCFPreferencesCurrentUser,
                          kCFPreferencesAnyHost);
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

void listKeys(const PrefsOptions& options, Session& session) {
    LoadPreferences();
    const Tova::CFRef<CFArrayRef> keys(CFPreferencesCopyKeyList(
        Tova::CPrefs::Domain(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    std::vector<std::string> lines;
    Json object = Json::object();
    for (CFIndex i = 0, count = keys ? CFArrayGetCount(keys.Get()) : 0; i < count; ++i) {
        const auto key = static_cast<CFStringRef>(CFArrayGetValueAtIndex(keys.Get(), i));
        const ValueRef value = copyValue(key);
        if (!value) {
            continue;
        }
        // Appended, because a look-up in an object that keeps its order takes longer with every
        // key.
        object.get_ref<Json::object_t&>().push_back(
            {EncodeText(key, kCFStringEncodingUTF8).value_or(""), valueToJson(value.Get())});
        lines.push_back(Escape(TextForPeople(key), "=") + "=" + Escape(valueToText(value.Get())) +
                        "\n");
    }
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

void setValue(const PrefsOptions& options, Session&) {
    const StringRef key = decode(options.key);
    const StringRef value = decode(options.value);
    LoadPreferencesToWrite();
    storeValue(key.Get(), value.Get());
    // The platform ignores texts that it cannot hold.
    const ValueRef stored = copyValue(key.Get());
    if (!stored || CFEqual(stored.Get(), value.Get()) == 0) {
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
                                 "  tvtool prefs list --json");
    list.app.add_flag("--json", list.options.json, "As an object");
    const auto get = AddCommand(prefs, session, "get", printValue, "Prints the value of a key",
                                "  tvtool prefs get RegisterInfo/RegFirstName");
    addKey(get);
    get.app.add_flag("--json", get.options.json, "As a JSON value");
    const auto set = AddCommand(prefs, session, "set", setValue, "Stores a text under a key",
                                "  tvtool prefs set RegisterInfo/RegFirstName Ada");
    addKey(set);
    AddText(set.app, "VALUE", set.options.value, "The text, taken literally")->required();
    addKey(AddCommand(prefs, session, "delete", deleteKey, "Removes a key",
                      "  tvtool prefs delete RegisterInfo/RegFirstName"));
}

}  // namespace tvtool
