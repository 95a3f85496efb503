// Where the user's own folders are, and how they come into being. Any thread; the environment must
// not be changed by another one meanwhile.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace tvplatform {

// An absolute path. What stands in `root` must be there already and is never made.
struct FolderPlace {
    std::string path;
    std::string root;
};

// An environment variable's value when it is an absolute path.
std::optional<std::string> AbsolutePath(const char* value);

// The folder that the environment variable names, else `underHome` ("/.config") in the user's home:
// $HOME, else the effective user's in the password file. Relative values count as none. Nothing
// when there is no home either.
std::optional<FolderPlace> FindUserFolder(const char* variable, const char* underHome);

// Makes what is missing of the folder, with `mode` less the umask. 0, or the error number.
int MakeFolder(const FolderPlace& place, mode_t mode);

// A text of the effective user's entry in the password file; nothing
// when there is no entry or the text is empty.
enum class UserEntry { LoginName, PersonName, Home };
std::optional<std::string> FindUserEntry(UserEntry which);

}  // namespace tvplatform
