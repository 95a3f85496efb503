// The user's own folders, and the user's entry in the password file. Any thread may call everything
// here. No other thread may change the environment meanwhile.
#pragma once

#include "posix/Places.h"

#include <optional>
#include <pwd.h>
#include <string>

namespace tvposix {

// Returns the value of an environment variable if it is an absolute path.
std::optional<std::string> AbsolutePath(const char* value);

// The configuration is in $XDG_CONFIG_HOME, else in ~/.config; the data are in $XDG_DATA_HOME, else
// in ~/.local/share. A relative value counts as none. The home is $HOME, else the one that the
// password file gives the effective user. A program with the rights of another user does not heed
// these variables. Both return nullopt if there is no home either.
std::optional<FolderPlace> FindConfigFolder();
std::optional<FolderPlace> FindDataFolder();

// Returns a text of the effective user's entry in the password file, such as &passwd::pw_name.
// nullopt if there is no entry or the text is empty.
std::optional<std::string> FindUserEntry(char* passwd::*text);

}  // namespace tvposix
