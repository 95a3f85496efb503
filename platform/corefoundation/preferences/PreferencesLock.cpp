#include "corefoundation/preferences/PreferencesLock.h"

#include "corefoundation/preferences/PreferencesFile.h"

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
// Bytes of the file. Who wants the second waits for it holding the first, so that a process that
// lets go of the second and wants it again at once stands behind the one that waits.
constexpr off_t cTurn = 0;
constexpr off_t cWork = 1;

bool setLock(int file, short type, off_t begin, off_t length) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = begin;
    range.l_len = length;
    // The lock belongs to this opening of the file, so that it holds between threads too.
    return fcntl(file, F_OFD_SETLK, &range) == 0;
}

bool waitForLock(int file, off_t byte, Clock::time_point deadline) {
    while (!setLock(file, F_WRLCK, byte, 1)) {
        if ((errno != EAGAIN && errno != EACCES && errno != EINTR) || Clock::now() >= deadline) {
            return false;
        }
        // The system has no wait for a file lock with an end to it.
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
    if (file_ < 0 || !isRegular(file_)) {
        return;
    }
    GiveToFolderOwner(file_, path);
    const auto deadline = Clock::now() + cLongestWait;
    held_ = waitForLock(file_, cTurn, deadline) && waitForLock(file_, cWork, deadline);
    setLock(file_, F_UNLCK, cTurn, 1);
}

PreferencesLock::~PreferencesLock() {
    if (file_ >= 0) {
        // Closing alone would not do where a child process has been forked meanwhile.
        setLock(file_, F_UNLCK, 0, 0);
        close(file_);
    }
}

}  // namespace tvplatform
