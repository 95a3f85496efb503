#include "corefoundation/preferences/PreferencesLock.h"

#include "posix/Files.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tvplatform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds cLongestWait(2);
constexpr timespec cPause = {0, 1000000};  // nanoseconds
// Bytes of the file. A process holds the first one while it waits for the second one. So a process
// that releases the second one and wants it again at once stands behind the process that waits.
constexpr off_t cTurn = 0;
constexpr off_t cWork = 1;

bool setLock(int file, short type, off_t begin, off_t length) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = begin;
    range.l_len = length;
    // The lock belongs to this opening of the file, so it works between threads too.
    return fcntl(file, F_OFD_SETLK, &range) == 0;
}

bool waitForLock(int file, off_t byte, Clock::time_point deadline) {
    while (!setLock(file, F_WRLCK, byte, 1)) {
        if ((errno != EAGAIN && errno != EACCES && errno != EINTR) || Clock::now() >= deadline) {
            return false;
        }
        // The system cannot wait for a file lock with a time limit.
        nanosleep(&cPause, nullptr);
    }
    return true;
}

bool isRegular(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

PreferencesLock::PreferencesLock(const std::string& path)
    : file_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600)) {
    if (!file_ || !isRegular(file_.Get())) {
        return;
    }
    tvposix::GiveToFolderOwner(file_.Get(), path);
    const auto deadline = Clock::now() + cLongestWait;
    held_ = waitForLock(file_.Get(), cTurn, deadline) && waitForLock(file_.Get(), cWork, deadline);
    setLock(file_.Get(), F_UNLCK, cTurn, 1);
}

PreferencesLock::~PreferencesLock() {
    if (file_) {
        // Closing alone would keep the lock if a child process has been forked meanwhile.
        setLock(file_.Get(), F_UNLCK, 0, 0);
    }
}

}  // namespace tvplatform
