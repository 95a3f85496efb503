#include "tvtool/base/Files.h"

#include "tvtool/base/Tool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace tvtool {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { Close(); }

    int Get() const { return fd_; }
    bool Close() {
        const int fd = std::exchange(fd_, -1);
        return fd < 0 || close(fd) == 0;
    }

private:
    int fd_;
};

void requireRegular(const std::string& path, mode_t mode) {
    if (S_ISDIR(mode)) {
        Fail(Exit::Damaged, path, "is a folder; name a file");
    }
    if (!S_ISREG(mode)) {
        Fail(Exit::Damaged, path, "is no regular file; use \"-\" for standard input or output");
    }
}

std::string ReadAll(int fd, const std::string& name, std::size_t expected) {
    std::string bytes;
    for (std::size_t used = 0;;) {
        if (used == bytes.size()) {
            bytes.resize(used == 0 ? expected + 1 : used + used / 2 + 4096);
        }
        const ssize_t got = read(fd, bytes.data() + used, bytes.size() - used);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            FailErrno(errno, name, "cannot be read");
        }
        used += static_cast<std::size_t>(got);
        if (used >= INT_MAX) {
            Fail(Exit::Failed, name, "is too large; the limit is 2 GiB");
        }
        if (got == 0) {
            bytes.resize(used);
            return bytes;
        }
    }
}

void writeAll(int fd, const std::string& path, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            FailErrno(errno, path, "cannot be written");
        }
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// Where `path` leads to; unlike realpath, also when nothing is there yet.
std::string followLinks(const std::string& path) {
    std::string at = path;
    for (int links = 0; links < 40; ++links) {
        std::string target(PATH_MAX, '\0');
        const ssize_t length = readlink(at.c_str(), target.data(), target.size());
        if (length < 0) {
            return at;
        }
        target.resize(static_cast<std::size_t>(length));
        at = !target.empty() && target[0] == '/' ? target : folderOf(at) + "/" + target;
    }
    FailErrno(ELOOP, path, "cannot be written");
}

// A file beside the target that takes its place, or disappears.
class Replacement {
public:
    Replacement(const std::string& path, const std::string& target)
        : path_(path), target_(target), temporary_(folderOf(target) + "/.tvtool-XXXXXX"),
          file_(mkostemp(temporary_.data(), O_CLOEXEC)) {
        if (file_.Get() < 0) {
            FailErrno(errno, path_, "no file can be made in its folder");
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        if (!temporary_.empty()) {
            unlink(temporary_.c_str());
        }
    }

    // Those of the file that is replaced; of a new file by the umask.
    void SetModeAndOwner(const struct stat* old) {
        mode_t mode = 0666;
        if (old != nullptr) {
            // Each by itself: a user may well be allowed to keep the group alone. Not being allowed
            // to is no reason to refuse the change.
            static_cast<void>(!fchown(file_.Get(), old->st_uid, static_cast<gid_t>(-1)));
            static_cast<void>(!fchown(file_.Get(), static_cast<uid_t>(-1), old->st_gid));
            mode = old->st_mode & 07777;
        } else {
            const mode_t mask = umask(0);
            umask(mask);
            mode &= ~mask;
        }
        if (fchmod(file_.Get(), mode) != 0) {
            FailErrno(errno, path_, "cannot be given its mode");
        }
    }

    void Commit(std::string_view bytes) {
        writeAll(file_.Get(), path_, bytes);
        if (fsync(file_.Get()) != 0 || !file_.Close()) {
            FailErrno(errno, path_, "cannot be written");
        }
        if (rename(temporary_.c_str(), target_.c_str()) != 0) {
            FailErrno(errno, path_, "cannot be replaced");
        }
        temporary_.clear();
        // The name is safe once its folder is; some file systems refuse that, and it is too late
        // to undo anything.
        const FileDescriptor folder(open(folderOf(target_).c_str(), O_RDONLY | O_CLOEXEC));
        static_cast<void>(folder.Get() >= 0 && fsync(folder.Get()) == 0);
    }

private:
    const std::string& path_;
    const std::string& target_;
    std::string temporary_;
    FileDescriptor file_;
};

}  // namespace

std::string InputName(const std::string& path) {
    return path == "-" ? "standard input" : path;
}

std::string ReadInput(const std::string& path) {
    if (path == "-") {
        return ReadAll(STDIN_FILENO, InputName(path), 4095);
    }
    // Looked at before it is opened, which would disturb the writer of a FIFO, and again after.
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0) {
        FailErrno(errno, path, "cannot be read");
    }
    requireRegular(path, info.st_mode);
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.Get() < 0 || fstat(file.Get(), &info) != 0) {
        FailErrno(errno, path, "cannot be read");
    }
    requireRegular(path, info.st_mode);
    if (info.st_size >= INT_MAX) {
        Fail(Exit::Failed, path, "is too large; the limit is 2 GiB");
    }
    return ReadAll(file.Get(), path, static_cast<std::size_t>(info.st_size));
}

void WriteOutput(const std::string& path, std::string_view bytes) {
    if (path == "-") {
        return writeAll(STDOUT_FILENO, "standard output", bytes);
    }
    const std::string target = followLinks(path);
    struct stat info = {};
    const bool isThere = stat(target.c_str(), &info) == 0;
    if (!isThere && errno != ENOENT) {
        FailErrno(errno, path, "cannot be written");
    }
    if (isThere) {
        requireRegular(path, info.st_mode);
        // Renaming would not ask.
        if (faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
            FailErrno(errno, path, "may not be written to");
        }
    }
    Replacement replacement(path, target);
    replacement.SetModeAndOwner(isThere ? &info : nullptr);
    replacement.Commit(bytes);
}

bool Exists(const std::string& path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0;
}

}  // namespace tvtool
