#include "posix/UserFolders.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>
#include <vector>

namespace tvposix {

namespace {

std::optional<FolderPlace> findFolder(const char* variable, const char* underHome) {
    if (auto path = AbsolutePath(secure_getenv(variable))) {
        return FolderPlace{std::move(*path), "/"};
    }
    auto home = AbsolutePath(secure_getenv("HOME"));
    if (!home) {
        const auto entry = FindUserEntry(&passwd::pw_dir);
        home = AbsolutePath(entry ? entry->c_str() : nullptr);
    }
    return home ? std::optional(FolderPlace{*home + underHome, *home}) : std::nullopt;
}

}  // namespace

std::optional<std::string> FindUserEntry(char* passwd::*text) {
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
    const char* value = found != nullptr ? found->*text : nullptr;
    return value != nullptr && *value != '\0' ? std::optional<std::string>(value) : std::nullopt;
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

}  // namespace tvposix
