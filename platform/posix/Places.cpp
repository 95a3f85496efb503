#include "posix/Places.h"

#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace tvposix {

namespace {

constexpr int cMostLinks = 40;
constexpr int cFolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t cPermissions = 0777;

// Makes a folder and opens it. Does nothing to one that exists.
int makeFolder(const Descriptor& above, const char* name, mode_t mode, Descriptor& made) {
    const bool isNew = mkdirat(above.Get(), name, mode) == 0;
    if (!isNew && errno != EEXIST) {
        return errno;
    }
    made = Descriptor(openat(above.Get(), name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {}, owner = {};
    if (!made || fstat(made.Get(), &status) != 0 || fstat(above.Get(), &owner) != 0) {
        return errno;
    }
    if (!S_ISDIR(status.st_mode)) {
        return 0;  // The owner of the folder above may have put something else there.
    }
    const mode_t missing = mode & ~status.st_mode & cPermissions;
    if (isNew && missing != 0 &&
        fchmodat(above.Get(), name, status.st_mode | missing, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    if (isNew && geteuid() == 0 && status.st_uid == 0 && owner.st_uid != 0) {
        // The file system may refuse. The folder then stays with root.
        static_cast<void>(!fchownat(made.Get(), "", owner.st_uid, owner.st_gid, AT_EMPTY_PATH));
    }
    return 0;
}

// Opens a folder at once, if there is no symbolic link on the way to it. An older kernel, or a
// filter of system calls, may refuse this.
Descriptor openWithoutLinks(const Descriptor& above, const char* path) {
    const open_how how{.flags = cFolderFlags, .mode = 0, .resolve = RESOLVE_NO_SYMLINKS};
    return Descriptor(static_cast<int>(syscall(SYS_openat2, above.Get(), path, &how, sizeof how)));
}

// Follows one path, component by component.
class Walk {
public:
    Walk(Descriptor folder, std::string path, Links links)
        : folder_(std::move(folder)), path_(std::move(path)), links_(links) {}

    int ToFolder(std::optional<mode_t> mode, Descriptor& folder) {
        int error = 0;
        while (error == 0 && !path_.empty()) {
            error = Step(mode);
        }
        folder = std::move(folder_);
        return error;
    }

    int ToFile(FilePlace& place) {
        if (path_.empty()) {
            return ENOENT;
        }
        int error = 0;
        while (error == 0 && (path_.find('/') != path_.npos || IsLink(error))) {
            error = Step(std::nullopt);
        }
        place = {std::move(folder_), std::move(path_)};
        return error;
    }

private:
    // Returns true if the last component is a symbolic link.
    bool IsLink(int& error) const {
        struct stat status = {};
        if (fstatat(folder_.Get(), path_.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            error = errno == ENOENT ? 0 : errno;
            return false;
        }
        return S_ISLNK(status.st_mode);
    }

    // Goes into the folder that the path begins with, or puts a link's target in its place.
    int Step(std::optional<mode_t> mode) {
        const std::size_t slash = std::min(path_.find('/'), path_.size());
        // A path that begins with "/" has "/" for its first component.
        const std::string name = path_.substr(0, std::max<std::size_t>(slash, 1));
        Descriptor next(openat(folder_.Get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        if (!next && errno == ENOENT && mode) {
            if (const int error = makeFolder(folder_, name.c_str(), *mode, next); error != 0) {
                return error;
            }
        }
        struct stat status = {};
        if (!next || fstat(next.Get(), &status) != 0) {
            return errno;
        }
        if (S_ISLNK(status.st_mode)) {
            return Follow(next, status.st_uid, path_.substr(slash));
        }
        if (!S_ISDIR(status.st_mode)) {
            return mode && slash == path_.size() ? EEXIST : ENOTDIR;
        }
        folder_ = std::move(next);
        // Only a folder can be in front of a slash at the end.
        const bool isFolder = slash < path_.size();
        path_.erase(0, std::min(path_.find_first_not_of('/', slash), path_.size()));
        path_ += isFolder && path_.empty() ? "." : "";
        return 0;
    }

    int Follow(const Descriptor& link, uid_t owner, const std::string& rest) {
        if ((links_ == Links::Trusted && owner != 0 && owner != geteuid()) ||
            ++followed_ > cMostLinks) {
            return ELOOP;
        }
        char target[PATH_MAX];
        const ssize_t length = readlinkat(link.Get(), "", target, sizeof target);
        if (length < 0) {
            return errno;
        }
        path_ = std::string(target, static_cast<std::size_t>(length)) + rest;
        return 0;
    }

    Descriptor folder_;
    std::string path_;
    const Links links_;
    int followed_ = 0;
};

}  // namespace

int OpenFolder(const FolderPlace& place, std::optional<mode_t> mode, Descriptor& folder) {
    Descriptor root(open(place.root.c_str(), cFolderFlags));
    if (!root) {
        return errno;
    }
    const std::size_t begin = place.path.find_first_not_of('/', place.root.size());
    const std::string path = begin < place.path.size() ? place.path.substr(begin) : "";
    folder = openWithoutLinks(root, path.c_str());
    return folder ? 0 : Walk(std::move(root), path, Links::Trusted).ToFolder(mode, folder);
}

int FindFile(Descriptor folder, const std::string& path, Links links, FilePlace& place) {
    Descriptor start = folder ? std::move(folder) : Descriptor(open(".", cFolderFlags));
    return start ? Walk(std::move(start), path, links).ToFile(place) : errno;
}

}  // namespace tvposix
