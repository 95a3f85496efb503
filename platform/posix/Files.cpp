#include "posix/Files.h"

#include "posix/Descriptor.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace tvposix {

namespace {

constexpr int cMostKept = 1000;
constexpr int cMostLinks = 40;
constexpr mode_t cModeBits = 07777;

int errorOf(int result) {
    return result == 0 ? 0 : errno;
}

int checkRegular(const struct stat& status) {
    return S_ISREG(status.st_mode) ? 0 : S_ISDIR(status.st_mode) ? EISDIR : cNotRegularFile;
}

// With a slash at its end.
std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? "./" : path.substr(0, slash + 1);
}

// Replaces a link by its target, which need not exist.
int followLinks(std::string& path) {
    for (int links = 0; links < cMostLinks; ++links) {
        std::error_code error;
        const std::string target = std::filesystem::read_symlink(path, error).string();
        if (error) {
            return 0;  // not a link
        }
        path = target.starts_with('/') ? target : folderOf(path) + target;
    }
    return ELOOP;
}

// A new file beside another. It is removed with this object unless it took the other's place.
class Replacement {
public:
    explicit Replacement(const std::string& target)
        : target_(target), temporary_(folderOf(target) + ".replacement-XXXXXX"),
          file_(mkostemp(temporary_.data(), O_CLOEXEC)), error_(file_ ? 0 : errno) {}
    ~Replacement() {
        if (error_ == 0 && !placed_) {
            unlink(temporary_.c_str());
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    int Error() const { return error_; }
    int Write(std::string_view bytes) { return WriteAll(file_.Get(), bytes); }
    int SetMode(NewFile kind);
    int Finish() {
        const int error = errorOf(fsync(file_.Get()));
        return error != 0 ? error : file_.Close();
    }
    int Rename() {
        const int error = errorOf(rename(temporary_.c_str(), target_.c_str()));
        placed_ = error == 0;
        return error;
    }

private:
    const std::string& target_;
    std::string temporary_;
    Descriptor file_;
    const int error_;
    bool placed_ = false;
};

int Replacement::SetMode(NewFile kind) {
    if (kind == NewFile::Private) {
        GiveToFolderOwner(file_.Get(), target_);
        return 0;
    }
    struct stat old = {};
    if (stat(target_.c_str(), &old) == 0) {
        // One by one, because a user may be allowed to keep the group alone. A file whose owner
        // cannot be kept is changed all the same.
        static_cast<void>(!fchown(file_.Get(), old.st_uid, static_cast<gid_t>(-1)));
        static_cast<void>(!fchown(file_.Get(), static_cast<uid_t>(-1), old.st_gid));
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        old.st_mode = 0666 & ~mask;
    }
    return errorOf(fchmod(file_.Get(), old.st_mode & cModeBits));
}

// Gives the file a second name that was free.
int keepUnderAnotherName(const std::string& path, const std::string& suffix) {
    int error = EEXIST;
    for (int number = 1; number <= cMostKept && error == EEXIST; ++number) {
        error = errorOf(link(path.c_str(), (path + suffix + std::to_string(number)).c_str()));
    }
    return error;
}

int syncFolderOf(const std::string& path) {
    const Descriptor folder(open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int error = folder ? errorOf(fsync(folder.Get())) : errno;
    return error == EINVAL ? 0 : error;  // Some file systems cannot do this and need not.
}

}  // namespace

int CheckRegularFile(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) != 0 ? errno : checkRegular(status);
}

int ReadAll(int file, std::size_t limit, std::size_t expected, std::string& bytes) {
    bytes.resize(std::min(limit, expected) + 1);
    for (std::size_t used = 0;;) {
        if (used > limit) {
            return EFBIG;
        }
        if (used == bytes.size()) {
            bytes.resize(std::min(limit + 1, used + used / 2 + 4096));
        }
        const ssize_t count = read(file, bytes.data() + used, bytes.size() - used);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count == 0) {
            bytes.resize(used);
            return 0;
        }
        used += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

int ReadFile(const std::string& path, std::size_t limit, std::string& bytes) {
    // Opening a FIFO would disturb its writer, so this asks before. The name may have been given to
    // something else since, so it asks again after.
    if (const int error = CheckRegularFile(path); error != 0) {
        return error;
    }
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    if (!file || fstat(file.Get(), &status) != 0) {
        return errno;
    }
    const int error = checkRegular(status);
    const auto size = static_cast<std::size_t>(status.st_size);
    return error != 0 ? error : size > limit ? EFBIG : ReadAll(file.Get(), limit, size, bytes);
}

int WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
}

void GiveToFolderOwner(int file, const std::string& path) {
    struct stat folder = {};
    if (geteuid() == 0 && stat(folderOf(path).c_str(), &folder) == 0 && folder.st_uid != 0) {
        static_cast<void>(!fchown(file, folder.st_uid, folder.st_gid));
    }
}

ReplaceResult ReplaceFile(const std::string& path, std::string_view bytes, NewFile kind,
                          const std::string& keepOldAs) {
    std::string target = path;
    ReplaceResult result = {};
    const auto fails = [&result](ReplaceStep step, int error) {
        result = {error, step};
        return error != 0;
    };
    if (fails(ReplaceStep::FollowLinks, followLinks(target))) {
        return result;
    }
    Replacement file(target);
    // The mode is set after the writing, which would take the set-id bits away.
    if (fails(ReplaceStep::MakeFile, file.Error()) ||
        fails(ReplaceStep::Write, file.Write(bytes)) ||
        fails(ReplaceStep::SetMode, file.SetMode(kind)) ||
        fails(ReplaceStep::Write, file.Finish()) ||
        (!keepOldAs.empty() &&
         fails(ReplaceStep::KeepOld, keepUnderAnotherName(target, keepOldAs))) ||
        fails(ReplaceStep::Rename, file.Rename())) {
        return result;
    }
    return {syncFolderOf(target), ReplaceStep::SyncFolder};
}

}  // namespace tvposix
