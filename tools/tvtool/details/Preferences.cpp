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

tvposix::FolderPlace findFolder() {
    auto folder = tvposix::FindConfigFolder();
    if (!folder) {
        Fail(Exit::NotFound, cPreferences, "have no folder; set HOME");
    }
    return std::move(*folder);
}

// Throws a ToolError if the folder cannot be written to, or cannot be made.
void requireWritableFolder() {
    const tvposix::FolderPlace place = findFolder();
    std::error_code error;
    std::filesystem::path folder = place.path;
    while (folder != place.root && !std::filesystem::exists(folder, error)) {
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

std::string PreferencesPath() {
    return findFolder().path + "/" + TextForPeople(Tova::CPrefs::Domain()) + ".plist";
}

void RequireWritablePreferences() {
    requireWritableFolder();
    const std::string lock = PreferencesPath() + ".lock";
    const tvposix::Descriptor file(open(lock.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
    if (!file && errno != ENOENT) {
        FailErrno(errno, lock, "cannot be opened");
    }
    struct flock range = {};
    range.l_type = F_WRLCK;
    if (file && fcntl(file.Get(), F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK) {
        Fail(Exit::Failed, lock, "is locked by another program; writing waits 2 s for it");
    }
}

void LoadPreferences() {
    const std::string path = PreferencesPath();
    if (!load(path)) {
        Fail(Exit::Damaged, path,
             "is no property list; the next change moves it aside and starts anew");
    }
}

void LoadPreferencesToWrite() {
    const std::string path = PreferencesPath();
    if (!load(path)) {
        Complain(path + ": is no property list; it is moved aside");
    }
}

void SavePreferences() {
    const int error = synchronize();
    if (error == 0) {
        return;
    }
    const std::string path = PreferencesPath();
    if (error == EAGAIN) {
        Fail(Exit::Failed, path, "cannot be written; try again when no other program writes it");
    }
    RequireWritablePreferences();
    FailErrno(error, path, "cannot be written");
}

}  // namespace tvtool
