// The C interface of the preferences: turns objects into property lists and domains, and back.
#include "corefoundation/object/Ref.h"
#include "corefoundation/preferences/PreferencesStore.h"
#include "corefoundation/string/String.h"

#include <CoreFoundation/CFPreferences.h>

#include <cerrno>
#include <filesystem>

using namespace tvplatform;

namespace {

std::optional<std::string> programName() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::nullopt : std::optional(program.filename().string());
}

std::optional<std::string> domainName(CFStringRef applicationID) {
    if (CFEqual(applicationID, kCFPreferencesAnyApplication) != 0) {
        return ".GlobalPreferences";
    }
    auto name = CFEqual(applicationID, kCFPreferencesCurrentApplication) != 0
                    ? programName()
                    : ToUtf8(applicationID);
    // The name must stay within the folder.
    const bool valid = name && !name->empty() &&
                       name->find_first_of(std::string_view("/\0", 2)) == std::string::npos;
    return valid ? std::move(name) : std::nullopt;
}

// Returns nullopt if the domain has no store.
std::optional<PreferencesDomain> findDomain(CFStringRef applicationID, CFStringRef userName,
                                            CFStringRef hostName) {
    if (CFEqual(userName, kCFPreferencesCurrentUser) == 0 ||
        CFEqual(hostName, kCFPreferencesAnyHost) == 0) {
        return std::nullopt;
    }
    const auto name = domainName(applicationID);
    return name ? std::optional(FindPreferencesDomain(*name)) : std::nullopt;
}

// Returns nullopt if a property list cannot hold the key. The entry has no value if `value` is null
// or a property list cannot hold it.
std::optional<PlistEntry> makeEntry(CFTypeRef key, CFTypeRef value) {
    auto text = ToUtf8(key);
    if (!text || !IsPlistText(*text)) {
        return std::nullopt;
    }
    return PlistEntry{std::move(*text), PlistFromObject(value)};
}

}  // namespace

const CFStringRef kCFPreferencesAnyApplication = CFSTR("kCFPreferencesAnyApplication");
const CFStringRef kCFPreferencesCurrentApplication = CFSTR("kCFPreferencesCurrentApplication");
const CFStringRef kCFPreferencesAnyHost = CFSTR("kCFPreferencesAnyHost");
const CFStringRef kCFPreferencesCurrentUser = CFSTR("kCFPreferencesCurrentUser");

CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef applicationID,
                                         CFStringRef userName, CFStringRef hostName) {
    const auto domain = findDomain(applicationID, userName, hostName);
    const auto text = domain ? ToUtf8(key) : std::nullopt;
    return text ? ObjectFromPlist(GetPreference(*domain, *text)) : nullptr;
}

void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID,
                           CFStringRef userName, CFStringRef hostName) {
    const auto domain = findDomain(applicationID, userName, hostName);
    auto entry = domain ? makeEntry(key, value) : std::nullopt;
    if (entry && (value == nullptr || entry->value)) {
        SetPreference(*domain, std::move(*entry));
    }
}

CFArrayRef CFPreferencesCopyKeyList(CFStringRef applicationID, CFStringRef userName,
                                    CFStringRef hostName) {
    const auto domain = findDomain(applicationID, userName, hostName);
    if (!domain) {
        return nullptr;
    }
    Ref<CFMutableArrayRef> keys(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    for (const std::string& key : GetPreferenceKeys(*domain)) {
        const Ref<CFStringRef> text(MakeString(key));
        CFArrayAppendValue(keys.Get(), text.Get());
    }
    return CFArrayGetCount(keys.Get()) > 0 ? keys.Detach() : nullptr;
}

Boolean CFPreferencesSynchronize(CFStringRef applicationID, CFStringRef userName,
                                 CFStringRef hostName) {
    const auto domain = findDomain(applicationID, userName, hostName);
    const int error = domain ? SynchronizePreferences(*domain) : ENOENT;
    if (error != 0) {
        errno = error;
    }
    return error == 0;
}

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID) {
    CFPropertyListRef value = CFPreferencesCopyValue(key, applicationID, kCFPreferencesCurrentUser,
                                                     kCFPreferencesAnyHost);
    return value != nullptr
               ? value
               : CFPreferencesCopyValue(key, kCFPreferencesAnyApplication,
                                        kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
}

void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID) {
    CFPreferencesSetValue(key, value, applicationID, kCFPreferencesCurrentUser,
                          kCFPreferencesAnyHost);
}

Boolean CFPreferencesAppSynchronize(CFStringRef applicationID) {
    return CFPreferencesSynchronize(applicationID, kCFPreferencesCurrentUser,
                                    kCFPreferencesAnyHost);
}
