#include "tvtool/details/Preferences.h"

#include "interface/CPrefs.h"
#include "posix/UserFolders.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/PlatformText.h"
#include "tvtool/base/Tool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace tvtool {

namespace {

// Returns 0 or an error number.
int synchronize() {
    return CFPreferencesSynchronize(Tova::CPrefs::Domain(), kCFPreferencesCurrentUser,
                                    kCFPreferencesAnyHost) != 0
               ? 0
               : errno;
}

// Returns the path of the platform's file. It is only used to find out what is wrong with the file:
// the platform reads and writes it.
std::string findFile() {
    const auto folder = tvposix::FindConfigFolder();
    if (!folder) {
        Fail(Exit::NotFound, cPreferences, "have no folder; set HOME");
    }
    return folder->path + "/" + TextForPeople(Tova::CPrefs::Domain()) + ".plist";
}

// Throws a ToolError if the folder keeps the file from being made.
void requireWritableFolder(const std::filesystem::path& file) {
    std::error_code error;
    // The platform makes the last folder itself, but not the one above it.
    std::filesystem::path folder = file.parent_path();
    if (!std::filesystem::exists(folder, error)) {
        folder = folder.parent_path();
    }
    if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        FailErrno(errno, folder.string(), "cannot hold the preferences");
    }
}

// Returns false if the file can be read but is no property list. Throws a ToolError if it cannot be
// read.
bool load(const std::string& path) {
    const int error = synchronize();
    if (error == 0 || error == EILSEQ) {
        return error == 0;
    }
    static_cast<void>(ReadInput(path));  // knows more about what is wrong
    FailErrno(error, path, "cannot be read");
}

}  // namespace

void LoadPreferences() {
    const std::string path = findFile();
    if (!load(path)) {
        Fail(Exit::Damaged, path,
             "is no property list; the next change moves it aside and starts anew");
    }
}

void LoadPreferencesToWrite() {
    const std::string path = findFile();
    if (!load(path)) {
        Complain(path + ": is no property list; it is moved aside");
    }
}

void SavePreferences() {
    const int error = synchronize();
    if (error == 0) {
        return;
    }
    const std::string path = findFile();
    if (error == EAGAIN) {
        Fail(Exit::Failed, path, "cannot be written; try again when no other program writes it");
    }
    requireWritableFolder(path);
    FailErrno(error, path, "cannot be written");
}

}  // namespace tvtool
