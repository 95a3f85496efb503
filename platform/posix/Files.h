// Reading and replacing whole files. Any thread may call everything here. A function that returns
// an int returns 0 or an error number.
#pragma once

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

namespace tvposix {

// The error number of CheckRegularFile and ReadFile for a device, a FIFO or a socket. A folder is
// EISDIR.
constexpr int cNotRegularFile = ENOTSUP;

// Follows symbolic links.
int CheckRegularFile(const std::string& path);

// Reads from `file` to its end into `bytes`. EFBIG if that is more than `limit` bytes. `expected`
// is the size that the caller expects; a right one saves time. After an error `bytes` has no
// defined value.
int ReadAll(int file, std::size_t limit, std::size_t expected, std::string& bytes);

// Reads a regular file in the same way. Does not wait for anything that is not one.
int ReadFile(const std::string& path, std::size_t limit, std::string& bytes);

int WriteAll(int file, std::string_view bytes);

// Gives a file that root has made in another user's folder to that user, who could not use it
// otherwise. Does nothing for other users, and if the file system refuses.
void GiveToFolderOwner(int file, const std::string& path);

// The mode and the owner of a new file.
enum class NewFile {
    // Mode 0600; see GiveToFolderOwner.
    Private,
    // The mode of the file that is replaced, and its owner and group as far as permitted. If there
    // is no such file, the mode is what the umask allows. No other thread may make files meanwhile.
    LikeOld,
};

// What ReplaceFile was doing when it failed. Before SyncFolder the old file is untouched. At
// SyncFolder the new file is in its place, but may be gone again after a power failure.
enum class ReplaceStep { FollowLinks, MakeFile, Write, SetMode, KeepOld, Rename, SyncFolder };

struct ReplaceResult {
    int error;
    ReplaceStep step;
};

// Puts a file with `bytes` in the place of `path`, or of what `path` leads to if it is a symbolic
// link. Every moment sees the old file or the new one as a whole, and the new one is on the disk
// before this returns. If `keepOldAs` is not empty, the old file keeps a second name: its own, this
// text, and the first number that is free.
ReplaceResult ReplaceFile(const std::string& path, std::string_view bytes, NewFile kind,
                          const std::string& keepOldAs = {});

}  // namespace tvposix
