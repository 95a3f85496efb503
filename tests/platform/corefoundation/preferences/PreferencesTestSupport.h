// A preferences domain in a home of the test's own.
#pragma once

#include "tests/platform/coreservices/FileTestSupport.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <sys/stat.h>

namespace tvtest {

inline Owned<CFTypeRef> Get(const std::string& key, CFStringRef domain = CFSTR("org.x")) {
    return Own(CFPreferencesCopyAppValue(Utf8Str(key), domain));
}

// Returns the description of the value, which is the text of a text, or "(none)".
inline std::string GetText(const std::string& key, CFStringRef domain = CFSTR("org.x")) {
    const auto value = Get(key, domain);
    return value.Get() == nullptr ? "(none)" : Utf8(Own(CFCopyDescription(value)));
}

inline void Set(const std::string& key, CFTypeRef value, CFStringRef domain = CFSTR("org.x")) {
    CFPreferencesSetAppValue(Utf8Str(key), value, domain);
}

inline void SetText(const std::string& key, const std::string& text) {
    Set(key, Utf8Str(text));
}

inline bool Sync(CFStringRef domain = CFSTR("org.x")) {
    return CFPreferencesAppSynchronize(domain);
}

inline std::u16string Keys() {
    return Dump(Own(CFPreferencesCopyKeyList(CFSTR("org.x"), kCFPreferencesCurrentUser,
                                             kCFPreferencesAnyHost)));
}

class PreferencesTest : public testing::Test {
protected:
    // Makes what has to be there for the domain's file to be written by hand.
    std::string WriteFile(const std::string& bytes) {
        return home_.Write(".config/org.x.plist", bytes);
    }
    static std::string Plist(const std::string& entries) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>" +
               entries + "</dict>\n</plist>\n";
    }
    // Another name of the folder, under which this process has not read the file yet.
    std::string Alias() {
        std::string alias = home_.Path("alias");
        std::filesystem::create_directory_symlink(folder_, alias);
        return alias;
    }
    std::size_t CountFiles() const {
        const std::filesystem::recursive_directory_iterator begin(home_.Path());
        return static_cast<std::size_t>(std::distance(begin, {}));
    }

    TempHome home_;
    const std::string folder_ = home_.Path(".config");
    const std::string file_ = home_.Path(".config/org.x.plist");
};

}  // namespace tvtest
