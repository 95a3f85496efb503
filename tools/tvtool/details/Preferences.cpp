#include "tvtool/details/Preferences.h"

#include "interface/CPrefs.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace tvtool {

namespace {

bool Synchronize() {
    return CFPreferencesSynchronize(Tova::CPrefs::Domain(), kCFPreferencesCurrentUser,
                                    kCFPreferencesAnyHost) != 0;
}

// The value of an environment variable that names a folder; those that are relative do not count.
std::string folderFrom(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value == '/' ? value : "";
}

// Where the platform keeps the preferences. Only to find out what is wrong with the file: reading
// and writing it is the platform's.
std::string findFile() {
    std::string folder = folderFrom("XDG_CONFIG_HOME");
    if (folder.empty()) {
        folder = folderFrom("HOME");
        const passwd* user = folder.empty() ? getpwuid(geteuid()) : nullptr;
        folder = (user != nullptr ? user->pw_dir : folder) + "/.config";
    }
    return folder + "/" + TextForPeople(Tova::CPrefs::Domain()) + ".plist";
}

// Throws what keeps the file from being made, when it is a folder.
void requireWritableFolder(const std::filesystem::path& file) {
    std::error_code error;
    // The platform makes the last folder itself, and none above it.
    std::filesystem::path folder = file.parent_path();
    if (!std::filesystem::exists(folder, error)) {
        folder = folder.parent_path();
    }
    if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        FailErrno(errno, folder.string(), "cannot hold the preferences");
    }
}

// False for a file that can be read and yet is no property list.
bool Load(const std::string& path) {
    if (Synchronize()) {
        return true;
    }
    // Throws what else it may be.
    static_cast<void>(ReadInput(path));
    return false;
}

}  // namespace

void LoadPreferences() {
    const std::string path = findFile();
    if (!Load(path)) {
        Fail(Exit::Damaged, path,
             "is no property list; the next change moves it aside and starts anew");
    }
}

void LoadPreferencesToWrite() {
    const std::string path = findFile();
    if (!Load(path)) {
        Complain(path + ": is no property list; it is moved aside");
    }
}

void SavePreferences() {
    if (Synchronize()) {
        return;
    }
    const std::string path = findFile();
    requireWritableFolder(path);
    Fail(Exit::Failed, path, "cannot be written; try again when no other program writes it");
}

}  // namespace tvtool
