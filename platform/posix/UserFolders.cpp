#include "posix/UserFolders.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tvposix {

namespace {

bool isFolder(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

const char* textOf(const passwd& entry, UserEntry which) {
    switch (which) {
    case UserEntry::LoginName:
        return entry.pw_name;
    case UserEntry::PersonName:
        return entry.pw_gecos;
    case UserEntry::Home:
        return entry.pw_dir;
    }
    return nullptr;
}

std::optional<FolderPlace> findFolder(const char* variable, const char* underHome) {
    if (auto path = AbsolutePath(std::getenv(variable))) {
        return FolderPlace{std::move(*path), "/"};
    }
    auto home = AbsolutePath(std::getenv("HOME"));
    if (!home) {
        const auto entry = FindUserEntry(UserEntry::Home);
        home = AbsolutePath(entry ? entry->c_str() : nullptr);
    }
    return home ? std::optional(FolderPlace{*home + underHome, *home}) : std::nullopt;
}

}  // namespace

std::optional<std::string> FindUserEntry(UserEntry which) {
    constexpr size_t largest = size_t{1} << 20U;
    passwd entry = {};
    passwd* found = nullptr;
    std::vector<char> buffer(1024);
    int error = ERANGE;
    while ((error = getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found)) ==
               ERANGE ||
           error == EINTR) {
        if (error == ERANGE && buffer.size() >= largest) {
            return std::nullopt;
        }
        buffer.resize(error == ERANGE ? buffer.size() * 2 : buffer.size());
    }
    const char* text = found != nullptr ? textOf(*found, which) : nullptr;
    return text != nullptr && *text != '\0' ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<std::string> AbsolutePath(const char* value) {
    return value != nullptr && *value == '/' ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<FolderPlace> FindConfigFolder() {
    return findFolder("XDG_CONFIG_HOME", "/.config");
}

std::optional<FolderPlace> FindDataFolder() {
    return findFolder("XDG_DATA_HOME", "/.local/share");
}

int MakeFolder(const FolderPlace& place, mode_t mode) {
    if (isFolder(place.path)) {
        return 0;
    }
    size_t slash = place.root.size();
    do {
        slash = place.path.find('/', slash + 1);
        // An existing folder gives EEXIST even if it could not be made.
        if (mkdir(place.path.substr(0, slash).c_str(), mode) != 0 && errno != EEXIST) {
            return errno;
        }
    } while (slash != std::string::npos);
    return isFolder(place.path) ? 0 : EEXIST;
}

}  // namespace tvposix
