// The preferences functions: from objects to property lists and domains, and back.
#include "corefoundation/collection/Array.h"
#include "corefoundation/collection/Dictionary.h"
#include "corefoundation/object/Ref.h"
#include "corefoundation/preferences/PreferencesStore.h"
#include "corefoundation/string/String.h"

#include <CoreFoundation/CFPreferences.h>

#include <filesystem>

using namespace tvplatform;

namespace {

bool isConstant(CFStringRef name, CFStringRef constant) {
    return CFEqual(name, constant) != 0;
}

std::optional<std::string> programName() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::nullopt : std::optional(program.filename().string());
}

std::optional<std::string> domainName(CFStringRef applicationID) {
    if (isConstant(applicationID, kCFPreferencesAnyApplication)) {
        return ".GlobalPreferences";
    }
    auto name = isConstant(applicationID, kCFPreferencesCurrentApplication) ? programName()
                                                                            : ToUtf8(applicationID);
    // The name must stay within the folder.
    const bool valid = name && !name->empty() &&
                       name->find_first_of(std::string_view("/\0", 2)) == std::string::npos;
    return valid ? std::move(name) : std::nullopt;
}

// Nothing where there is no store.
std::optional<PreferencesDomain> findDomain(CFStringRef applicationID, CFStringRef userName,
                                            CFStringRef hostName) {
    if (!isConstant(userName, kCFPreferencesCurrentUser) ||
        !isConstant(hostName, kCFPreferencesAnyHost)) {
        return std::nullopt;
    }
    const auto name = domainName(applicationID);
    return name ? std::optional(FindPreferencesDomain(*name)) : std::nullopt;
}

// Nothing for what is no key; no value stands for what is no value.
std::optional<PlistEntry> makeEntry(CFTypeRef key, CFTypeRef value) {
    auto text = ToUtf8(key);
    if (!text || !IsPlistText(*text)) {
        return std::nullopt;
    }
    return PlistEntry{std::move(*text), PlistFromObject(value)};
}

CFTypeRef copyPreference(const PreferencesDomain& domain, CFTypeRef key) {
    const auto text = ToUtf8(key);
    return text ? ObjectFromPlist(GetPreference(domain, *text)) : nullptr;
}

}  // namespace

const CFStringRef kCFPreferencesAnyApplication = CFSTR("kCFPreferencesAnyApplication");
const CFStringRef kCFPreferencesCurrentApplication = CFSTR("kCFPreferencesCurrentApplication");
const CFStringRef kCFPreferencesAnyHost = CFSTR("kCFPreferencesAnyHost");
const CFStringRef kCFPreferencesCurrentHost = CFSTR("kCFPreferencesCurrentHost");
const CFStringRef kCFPreferencesAnyUser = CFSTR("kCFPreferencesAnyUser");
const CFStringRef kCFPreferencesCurrentUser = CFSTR("kCFPreferencesCurrentUser");

CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef applicationID,
                                         CFStringRef userName, CFStringRef hostName) {
    const auto domain = findDomain(applicationID, userName, hostName);
    return domain ? copyPreference(*domain, key) : nullptr;
}

void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID,
                           CFStringRef userName, CFStringRef hostName) {
    const auto domain = findDomain(applicationID, userName, hostName);
    auto entry = domain ? makeEntry(key, value) : std::nullopt;
    if (entry && (value == nullptr || entry->value)) {
        SetPreferences(*domain, {std::move(*entry)});
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

CFDictionaryRef CFPreferencesCopyMultiple(CFArrayRef keysToFetch, CFStringRef applicationID,
                                          CFStringRef userName, CFStringRef hostName) {
    Ref<CFMutableDictionaryRef> values(CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const auto domain = findDomain(applicationID, userName, hostName);
    const Ref<CFArrayRef> keys(keysToFetch != nullptr ? Ref<CFArrayRef>::Share(keysToFetch)
                                                      : Ref<CFArrayRef>(CFPreferencesCopyKeyList(
                                                            applicationID, userName, hostName)));
    const auto* list = As<const Array>(keys.Get());
    if (!domain || list == nullptr || list->CallBacks().retain != kCFTypeArrayCallBacks.retain) {
        return values.Detach();
    }
    for (const void* key : list->Values()) {
        const Ref<CFTypeRef> value(copyPreference(*domain, key));
        CFDictionarySetValue(values.Get(), key, value.Get());
    }
    return values.Detach();
}

void CFPreferencesSetMultiple(CFDictionaryRef keysToSet, CFArrayRef keysToRemove,
                              CFStringRef applicationID, CFStringRef userName,
                              CFStringRef hostName) {
    const auto* removed = As<const Array>(keysToRemove);
    if (removed != nullptr && removed->CallBacks().retain == kCFTypeArrayCallBacks.retain) {
        for (const void* key : removed->Values()) {
            CFPreferencesSetValue(static_cast<CFStringRef>(key), nullptr, applicationID, userName,
                                  hostName);
        }
    }
    const auto* set = As<const Dictionary>(keysToSet);
    if (set != nullptr && PlistFromObject(keysToSet)) {
        for (const auto& [key, value] : set->Entries()) {
            CFPreferencesSetValue(static_cast<CFStringRef>(key), value, applicationID, userName,
                                  hostName);
        }
    }
}

Boolean CFPreferencesSynchronize(CFStringRef applicationID, CFStringRef userName,
                                 CFStringRef hostName) {
    const auto domain = findDomain(applicationID, userName, hostName);
    return domain && SynchronizePreferences(*domain);
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
