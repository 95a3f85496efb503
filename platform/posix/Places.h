// Files and folders by descriptors, so that nobody can put something else in their way once they
// are found. Any thread may call everything here. A function returns 0 or an error number.
#pragma once

#include "posix/Descriptor.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace tvposix {

// Which symbolic links are followed. ELOOP tells that one was not.
enum class Links {
    All,
    // Those of the effective user and of root. Another user's link could lead to any file that this
    // user may write.
    Trusted
};

// An absolute path. The part in `root` must exist: it is never made, and its links are followed.
struct FolderPlace {
    std::string path;
    std::string root;
};

// A file by its folder and its name there. There is no symbolic link with this name.
struct FilePlace {
    Descriptor folder;
    std::string name;
};

// Opens a folder, with O_PATH, by trusted links. If there is a `mode`, makes the missing folders
// with it, whatever the umask, and EEXIST tells that something else has the folder's name. A folder
// that root makes belongs to the owner of the one above it.
int OpenFolder(const FolderPlace& place, std::optional<mode_t> mode, Descriptor& folder);

// Finds a file, which need not exist, from a folder or, if there is none, the current one. If
// `path` leads to a symbolic link, the place is what that leads to.
int FindFile(Descriptor folder, const std::string& path, Links links, FilePlace& place);

}  // namespace tvposix
