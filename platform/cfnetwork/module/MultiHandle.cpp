#include "cfnetwork/module/MultiHandle.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace tvplatform {
namespace {

// It takes tens of microseconds to make a handle, most of them for its descriptors. So the handle
// of the last transfer that went well stays.
constinit std::atomic<CURLM*> sSpare{nullptr};

struct MultiCleanup {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

// Returns the two lowest free numbers, or -1 in place of one that there is not.
std::pair<int, int> lowestFreeDescriptors() {
    const int first = eventfd(0, EFD_CLOEXEC);
    const int second = fcntl(first, F_DUPFD_CLOEXEC, 0);
    for (const int descriptor : {first, second}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    return {first, second};
}

// The descriptors take the lowest free numbers, but for those that other threads open and close
// meanwhile.
std::vector<int> descriptorsNear(std::pair<int, int> free, int distance) {
    const auto [first, second] = free;
    std::vector<int> found;
    const auto add = [&](int from, int to) {
        for (int descriptor = std::max(from, 0); descriptor <= to; ++descriptor) {
            if (fcntl(descriptor, F_GETFD) >= 0) {
                found.push_back(descriptor);
            }
        }
    };
    add(first - distance, first + distance);
    add(std::max(first + distance + 1, second - distance), second + distance);
    return found;
}

std::vector<int> allInherited() {
    std::vector<int> found;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        const int descriptor = std::atoi(entry->d_name);
        if (fcntl(descriptor, F_GETFD) == 0) {
            found.push_back(descriptor);
        }
    }
    return found;
}

// Sockets and pipes, but not event descriptors, tell how many bytes wait in them.
bool countsBytes(int descriptor, int& waiting) {
    return ioctl(descriptor, SIOCINQ, &waiting) == 0;
}

// Tells whether something waits in the descriptor, or waits in its peer for being read.
bool isFilled(int descriptor) {
    int waiting = 0;
    if (!countsBytes(descriptor, waiting)) {
        pollfd event{descriptor, POLLIN, 0};
        return poll(&event, 1, 0) == 1 && (event.revents & POLLIN) != 0;
    }
    return waiting > 0 || (ioctl(descriptor, SIOCOUTQ, &waiting) == 0 && waiting > 0);
}

// The library tells nobody which descriptors it wakes itself up with. They are those that a wake-up
// fills and that are empty before and after it. Returns false if they are not all among these: they
// are a pair of sockets, a pipe, or one event descriptor, by the library's version.
bool keepFromPrograms(CURLM* multi, std::vector<int> descriptors) {
    std::erase_if(descriptors, isFilled);
    if (curl_multi_wakeup(multi) != CURLM_OK) {
        return true;  // The library has none.
    }
    std::erase_if(descriptors, [](int descriptor) { return !isFilled(descriptor); });
    curl_multi_poll(multi, nullptr, 0, 0, nullptr);
    std::erase_if(descriptors, isFilled);
    for (const int descriptor : descriptors) {
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
    int waiting = 0;
    return descriptors.size() > 1 ||
           (descriptors.size() == 1 && !countsBytes(descriptors.front(), waiting));
}

// Returns 0 for what is no socket. This does not touch the descriptor, which may be another
// thread's.
unsigned long inodeOfSocket(int descriptor) {
    char link[32], target[64] = "";
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    unsigned long inode = 0;
    return readlink(link, target, sizeof target - 1) > 0 &&
                   std::sscanf(target, "socket:[%lu]", &inode) == 1
               ? inode
               : 0;
}

// Each look takes several calls of the system, and a process may have very many descriptors. So
// more of them are looked at only if there is need.
CURLM* makeMultiHandle() {
    const auto free = lowestFreeDescriptors();
    std::unique_ptr<CURLM, MultiCleanup> multi(curl_multi_init());
    const auto keepAmong = [&](const std::vector<int>& descriptors) {
        return multi == nullptr || keepFromPrograms(multi.get(), descriptors);
    };
    if (!keepAmong(descriptorsNear(free, 0)) && !keepAmong(descriptorsNear(free, 3))) {
        keepAmong(allInherited());
    }
    return multi.release();
}

}  // namespace

CURLM* TakeMultiHandle() {
    CURLM* spare = sSpare.exchange(nullptr);
    return spare != nullptr ? spare : makeMultiHandle();
}

void KeepSpareMultiHandle(CURLM* multi) {
    curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, nullptr);
    curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, nullptr);
    curl_multi_cleanup(sSpare.exchange(multi));
}

void DropSpareMultiHandle() {
    curl_multi_cleanup(sSpare.exchange(nullptr));
}

void KeepPairFromPrograms(int socket) {
    const unsigned long own = inodeOfSocket(socket);
    fcntl(socket, F_SETFD, FD_CLOEXEC);
    // A pair is made at once, so its numbers follow each other unless the process has gaps in them.
    // Who wants to be sure would have to look at every descriptor.
    for (const int near : {socket - 1, socket + 1}) {
        const unsigned long other = inodeOfSocket(near);
        if (own != 0 && other != 0 && (own == other + 1 || own + 1 == other)) {
            fcntl(near, F_SETFD, FD_CLOEXEC);
        }
    }
}

}  // namespace tvplatform
