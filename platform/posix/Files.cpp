#include "posix/Files.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tvposix {

namespace {

constexpr int cMostKept = 1000;
// Bytes of the file's name in that of the temporary file, which the file system limits to 255.
constexpr std::size_t cNamePart = 200;
constexpr mode_t cModeBits = 07777;
constexpr mode_t cSetIdBits = S_ISUID | S_ISGID;

int errorOf(int result) {
    return result == 0 ? 0 : errno;
}

int checkRegular(const struct stat& status) {
    return S_ISREG(status.st_mode) ? 0 : S_ISDIR(status.st_mode) ? EISDIR : cNotRegularFile;
}

int readFile(int folder, const std::string& name, bool follows, std::size_t limit,
             std::string& bytes) {
    // Opening a FIFO would disturb its writer, so this asks before. The name may have been given to
    // something else since, so it asks again after.
    struct stat status = {};
    if (fstatat(folder, name.c_str(), &status, follows ? 0 : AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    if (const int error = checkRegular(status); error != 0) {
        return error;
    }
    const Descriptor file(
        openat(folder, name.c_str(),
               O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (follows ? 0 : O_NOFOLLOW)));
    if (!file || fstat(file.Get(), &status) != 0) {
        return errno;
    }
    const int error = checkRegular(status);
    const auto size = static_cast<std::size_t>(status.st_size);
    return error != 0 ? error : size > limit ? EFBIG : ReadAll(file.Get(), limit, size, bytes);
}

}  // namespace

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
    return readFile(AT_FDCWD, path, true, limit, bytes);
}

int ReadFile(const FilePlace& place, std::size_t limit, std::string& bytes) {
    return readFile(place.folder.Get(), place.name, false, limit, bytes);
}

int WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return count == 0 ? EIO : errno;
        }
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
}

void GiveToFolderOwner(const Descriptor& file, const Descriptor& folder) {
    struct stat status = {};
    if (geteuid() == 0 && fstat(folder.Get(), &status) == 0 && status.st_uid != 0) {
        static_cast<void>(!fchown(file.Get(), status.st_uid, status.st_gid));
    }
}

Replacement::Replacement(const std::string& path) : kind_(NewFile::LikeOld) {
    constexpr std::chrono::seconds cLongestWait(10);
    state_ = {FindFile(Descriptor(), path, Links::All, place_), ReplaceStep::Find};
    Begin(std::chrono::steady_clock::now() + cLongestWait);
}

Replacement::Replacement(FilePlace place, std::chrono::steady_clock::time_point deadline)
    : kind_(NewFile::Private), place_(std::move(place)) {
    Begin(deadline);
}

Replacement::~Replacement() {
    if (isMade_) {
        unlinkat(place_.folder.Get(), temporary_.c_str(), 0);
    }
    if (file_) {
        // Closing alone would keep the lock if a child process has been forked meanwhile.
        flock(file_.Get(), LOCK_UN);
    }
}

void Replacement::Begin(std::chrono::steady_clock::time_point deadline) {
    if (state_.error != 0) {
        return;
    }
    struct stat old = {};
    if (fstatat(place_.folder.Get(), place_.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
        checkRegular(old) != 0) {
        state_ = {checkRegular(old), ReplaceStep::Find};
        return;
    }
    temporary_ = "." + place_.name.substr(0, cNamePart) + ".replacement";
    const int error = WaitForLock([this] { return TryMake(); }, deadline);
    state_ = {error, error == EAGAIN ? ReplaceStep::Lock : ReplaceStep::MakeFile};
}

int Replacement::TryMake() {
    constexpr int cFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const auto openFile = [this](int flags) {
        file_ = Descriptor(openat(place_.folder.Get(), temporary_.c_str(), flags | cFlags, 0600));
        return file_ ? 0 : errno;
    };
    int error = openFile(O_RDWR | O_CREAT | O_EXCL);
    const bool isNew = error == 0;
    if (isNew) {
        // At once, so that nobody is locked out if this process is killed. The umask may have taken
        // these bits. A refusal shows when the mode is set for good.
        static_cast<void>(!fchmod(file_.Get(), 0600));
        if (kind_ == NewFile::Private) {
            GiveToFolderOwner(file_, place_.folder);
        }
    }
    if (error == EEXIST) {
        // Some network file systems lock only what can be written to.
        error = openFile(O_RDWR);
        error = error == EACCES ? openFile(O_RDONLY) : error;
        // It is gone again, or another user is at work.
        error = error == ENOENT || error == EACCES ? EAGAIN : error;
    }
    if (error != 0) {
        return error;
    }
    if (flock(file_.Get(), LOCK_EX | LOCK_NB) != 0 && (!isNew || errno == EWOULDBLOCK)) {
        // In a file system without locks, nobody knows whether its process lives.
        return errno == EWOULDBLOCK ? EAGAIN : EEXIST;
    }
    // Its process may have renamed or removed it before it gave the lock back.
    error = CheckName();
    isMade_ = isNew && error != EAGAIN;
    if (error != 0 || isNew) {
        return error;
    }
    // A killed process has left it.
    return unlinkat(place_.folder.Get(), temporary_.c_str(), 0) == 0 ? EAGAIN : errno;
}

int Replacement::CheckName() const {
    struct stat own = {}, named = {};
    if (fstat(file_.Get(), &own) != 0 ||
        fstatat(place_.folder.Get(), temporary_.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? EAGAIN : errno;
    }
    return own.st_dev == named.st_dev && own.st_ino == named.st_ino ? 0 : EAGAIN;
}

int Replacement::SetMode() {
    mode_t mode = 0600;
    struct stat old = {}, made = {};
    if (kind_ == NewFile::Private) {
        return errorOf(fchmod(file_.Get(), mode));
    }
    if (fstatat(place_.folder.Get(), place_.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0) {
        // One by one, because a user may be allowed to keep the group alone. A file whose owner
        // cannot be kept is changed all the same.
        static_cast<void>(!fchown(file_.Get(), old.st_uid, static_cast<gid_t>(-1)));
        static_cast<void>(!fchown(file_.Get(), static_cast<uid_t>(-1), old.st_gid));
        if (fstat(file_.Get(), &made) != 0) {
            return errno;
        }
        mode = old.st_mode & cModeBits;
        // The bits would lend the rights of a user who has not given them.
        mode &= ~(made.st_uid != old.st_uid   ? cSetIdBits
                  : made.st_gid != old.st_gid ? S_ISGID
                                              : 0U);
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    return errorOf(fchmod(file_.Get(), mode));
}

// Gives the old file a second name that was free.
int Replacement::KeepOld(const std::string& suffix) {
    const int folder = place_.folder.Get();
    int error = EEXIST;
    for (int number = 1; number <= cMostKept && error == EEXIST; ++number) {
        const std::string kept = place_.name + suffix + std::to_string(number);
        error = errorOf(linkat(folder, place_.name.c_str(), folder, kept.c_str(), 0));
    }
    return error;
}

int Replacement::SyncFolder() const {
    const Descriptor folder(openat(place_.folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int error = folder ? errorOf(fsync(folder.Get())) : errno;
    return error == EINVAL ? 0 : error;  // Some file systems cannot do this and need not.
}

ReplaceResult Replacement::Finish(std::string_view bytes, const std::string& keepOldAs) {
    const auto fails = [this](ReplaceStep step, int error) {
        state_ = {error, step};
        return error != 0;
    };
    const int folder = place_.folder.Get();
    // The mode is set after the writing, which would take the set-id bits away.
    if (state_.error != 0 || fails(ReplaceStep::Write, WriteAll(file_.Get(), bytes)) ||
        fails(ReplaceStep::SetMode, SetMode()) ||
        fails(ReplaceStep::Write, errorOf(fsync(file_.Get()))) ||
        (!keepOldAs.empty() && fails(ReplaceStep::KeepOld, KeepOld(keepOldAs))) ||
        fails(ReplaceStep::Rename,
              CheckName() != 0
                  ? ENOENT
                  : errorOf(renameat(folder, temporary_.c_str(), folder, place_.name.c_str())))) {
        return state_;
    }
    isMade_ = false;
    return {SyncFolder(), ReplaceStep::SyncFolder};
}

}  // namespace tvposix
