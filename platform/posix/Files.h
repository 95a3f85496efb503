// Reading and replacing whole files. Any thread may call everything here. A function that returns
// an int returns 0 or an error number.
#pragma once

#include "posix/Places.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

namespace tvposix {

// The error number of a device, a FIFO or a socket in place of a file. A folder is EISDIR.
constexpr int cNotRegularFile = ENOTSUP;

// Reads from `file` to its end into `bytes`. EFBIG if that is more than `limit` bytes. `expected`
// is the size that the caller expects; a right one saves time. After an error `bytes` has no
// defined value.
int ReadAll(int file, std::size_t limit, std::size_t expected, std::string& bytes);

// Reads a regular file in the same way. Does not wait for anything that is not one.
int ReadFile(const std::string& path, std::size_t limit, std::string& bytes);
int ReadFile(const FilePlace& place, std::size_t limit, std::string& bytes);

int WriteAll(int file, std::string_view bytes);

// Gives a new file of root's in another user's folder to that user, who could not use it otherwise.
// The file must have been made with O_EXCL. Does nothing if the file system refuses.
void GiveToFolderOwner(const Descriptor& file, const Descriptor& folder);

// Calls `take`, which tries to take a lock, until it returns something other than EAGAIN or the
// time is over. Returns the last result.
template <class Take>
int WaitForLock(Take take, std::chrono::steady_clock::time_point deadline) {
    for (;;) {
        const int error = take();
        if (error != EAGAIN || std::chrono::steady_clock::now() >= deadline) {
            return error;
        }
        // The system cannot wait for a file lock with a time limit.
        constexpr timespec cPause = {0, 1000000};  // nanoseconds
        nanosleep(&cPause, nullptr);
    }
}

// The mode and the owner of a new file.
enum class NewFile {
    // Mode 0600; see GiveToFolderOwner.
    Private,
    // The mode of the file that is replaced, and its owner and group as far as permitted. A file
    // that gets another owner or group loses its set-id bits. If there is no old file, the mode is
    // what the umask allows. No other thread may make files meanwhile.
    LikeOld,
};

// What a replacement was doing when it failed. Before SyncFolder the old file is untouched. At
// SyncFolder the new file is in its place, but may be gone again after a power failure.
enum class ReplaceStep { Find, MakeFile, Lock, Write, SetMode, KeepOld, Rename, SyncFolder };

struct ReplaceResult {
    int error;
    ReplaceStep step;
};

// One replacement of a file, which need not exist. Every moment sees the old file or the new one as
// a whole. From the construction to the end of the object no other replacement of the file exists
// in any process, so nothing is lost if the file is read in between. Other writers are not kept
// out. The new file is beside the old one, under the name ".NAME.replacement", and locked. What a
// killed process left there is removed. One thread at a time may use it.
class Replacement {
public:
    // Follows links, and makes a file that is LikeOld. Waits up to 10 s for others. A failure is
    // kept for Finish.
    explicit Replacement(const std::string& path);
    // Makes a file that is Private. Waits for others until the deadline.
    Replacement(FilePlace place, std::chrono::steady_clock::time_point deadline);
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    // Puts a file with `bytes` in the place of the old one. It is on the disk before this returns.
    // If `keepOldAs` is not empty, the old file keeps a second name: its own, this text, and the
    // first number that is free. Call this once.
    ReplaceResult Finish(std::string_view bytes, const std::string& keepOldAs = {});

private:
    void Begin(std::chrono::steady_clock::time_point deadline);
    // Makes and locks the temporary file, or removes an old one. EAGAIN asks for another try.
    int TryMake();
    // EAGAIN tells that the temporary name is another file's by now.
    int CheckName() const;
    int SetMode();
    int KeepOld(const std::string& suffix);
    int SyncFolder() const;

    const NewFile kind_;
    FilePlace place_;
    std::string temporary_;
    Descriptor file_;
    ReplaceResult state_ = {};
    // The temporary name is this object's.
    bool isMade_ = false;
};

}  // namespace tvposix
