#include "corefoundation/preferences/PreferencesLock.h"

#include "posix/Files.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace tvplatform {

namespace {

// The first bytes of the file are the places of a queue. Who holds byte 0 may change the
// preferences. Others come in at the last place and go on to the place before whenever it is free,
// so that nobody overtakes. Those for whom there is no place find the way in by chance.
constexpr off_t cPlaces = 16;

// Returns 0 or an error number, EAGAIN if another opening of the file has the lock.
int setLock(const tvposix::Descriptor& file, short type, off_t place, off_t count) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = place;
    range.l_len = count;
    // The lock belongs to this opening of the file, so it works between threads too.
    const bool isSet = fcntl(file.Get(), F_OFD_SETLK, &range) == 0;
    return isSet ? 0 : errno == EACCES || errno == EINTR ? EAGAIN : errno;
}

// Whatever the umask and the links there are.
tvposix::Descriptor openLockFile(const tvposix::Descriptor& folder, const char* name) {
    constexpr int cFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    tvposix::Descriptor file(openat(folder.Get(), name, cFlags | O_CREAT | O_EXCL, 0600));
    if (file) {
        const bool isUsable = fchmod(file.Get(), 0600) == 0;
        tvposix::GiveToFolderOwner(file, folder);
        return isUsable ? std::move(file) : tvposix::Descriptor();
    }
    return tvposix::Descriptor(errno == EEXIST ? openat(folder.Get(), name, cFlags) : -1);
}

}  // namespace

PreferencesLock::PreferencesLock(const tvposix::Descriptor& folder, const std::string& name,
                                 std::chrono::steady_clock::time_point deadline)
    : file_(openLockFile(folder, name.c_str())) {
    struct stat status = {};
    if (!file_ || fstat(file_.Get(), &status) != 0) {
        error_ = errno;
        return;
    }
    if (!S_ISREG(status.st_mode)) {
        error_ = EINVAL;
        return;
    }
    for (off_t place = cPlaces; place-- > 0 && error_ == 0;) {
        error_ = tvposix::WaitForLock([&] { return setLock(file_, F_WRLCK, place, 1); }, deadline);
        setLock(file_, F_UNLCK, place + 1, cPlaces);
    }
    if (error_ != 0) {
        setLock(file_, F_UNLCK, 0, 0);
    }
}

PreferencesLock::~PreferencesLock() {
    if (file_) {
        // Closing alone would keep the lock if a child process has been forked meanwhile.
        setLock(file_, F_UNLCK, 0, 0);
    }
}

}  // namespace tvplatform
