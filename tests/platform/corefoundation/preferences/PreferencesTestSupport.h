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

inline void Set(const std::string& key, CFTypeRef value, CFStringRef domain = CFSTR("org.x")) {
    CFPreferencesSetAppValue(Utf8Str(key), value, domain);
}

inline bool Sync(CFStringRef domain = CFSTR("org.x")) {
    return CFPreferencesAppSynchronize(domain);
}

class PreferencesTest : public testing::Test {
protected:
    // What has to be there for the domain's file to be written by hand.
    std::string WriteFile(const std::string& bytes) {
        std::filesystem::create_directories(folder_);
        return home_.Write(".config/org.x.plist", bytes);
    }
    static std::string Plist(const std::string& entries) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>" +
               entries + "</dict>\n</plist>\n";
    }
    // A name under which this process has not read the file yet.
    std::string Alias() {
        std::string alias = home_.Path("alias" + std::to_string(aliases_++));
        std::filesystem::create_directory_symlink(folder_, alias);
        return alias;
    }
    std::size_t CountFiles() const {
        const std::filesystem::recursive_directory_iterator begin(home_.Path());
        return static_cast<std::size_t>(std::distance(begin, {}));
    }
    // Runs `body` as a user who owns nothing, in a child; skipped (true) unless root runs the test.
    template <class Body>
    bool AsNobody(Body body) {
        if (geteuid() != 0) {
            return true;
        }
        chmod(home_.Path().c_str(), 0755);
        return InChild([&] { return setuid(65534) == 0 && body(); }) == 1;
    }

    TempHome home_;
    const std::string folder_ = home_.Path(".config");
    const std::string file_ = home_.Path(".config/org.x.plist");
    int aliases_ = 0;
};

}  // namespace tvtest
