// The user's own folders, and the user's entry in the password file. Any thread may call everything
// here. No other thread may change the environment meanwhile.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace tvposix {

// An absolute path. The part in `root` must exist: it is never made.
struct FolderPlace {
    std::string path;
    std::string root;
};

// Returns the value of an environment variable if it is an absolute path.
std::optional<std::string> AbsolutePath(const char* value);

// The configuration is in $XDG_CONFIG_HOME, else in ~/.config; the data are in $XDG_DATA_HOME, else
// in
// ~/.local/share. A relative value counts as none. The home is $HOME, else the one that the
// password file gives the effective user. Both return nullopt if there is no home either.
std::optional<FolderPlace> FindConfigFolder();
std::optional<FolderPlace> FindDataFolder();

// Makes the missing folders of the path with `mode` less the umask. Returns 0 or the error number.
int MakeFolder(const FolderPlace& place, mode_t mode);

// Returns a text of the effective user's entry in the password file. nullopt if there is no entry
// or the text is empty.
enum class UserEntry { LoginName, PersonName, Home };
std::optional<std::string> FindUserEntry(UserEntry which);

}  // namespace tvposix
