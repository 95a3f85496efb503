#include "cfnetwork/module/WakeUpSockets.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <vector>

namespace tvplatform {
namespace {

// A newer library keeps the sockets from programs itself, or has none.
constinit std::atomic<bool> sIsKeptByLibrary{false};

struct MultiCleanup {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

int lowestFreeDescriptor() {
    const int descriptor = eventfd(0, EFD_CLOEXEC);
    if (descriptor >= 0) {
        close(descriptor);
    }
    return descriptor;
}

// Returns true if a program would inherit the descriptor, and if it may be one of the pair.
bool isInheritedSocket(int descriptor) {
    int domain = AF_UNSPEC;
    socklen_t size = sizeof domain;
    return fcntl(descriptor, F_GETFD) == 0 &&
           getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX;
}

// Returns false if there is no descriptor left to look for them with.
bool findAllInherited(std::vector<int>& sockets) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        if (const int descriptor = std::atoi(entry->d_name); isInheritedSocket(descriptor)) {
            sockets.push_back(descriptor);
        }
    }
    return folder != nullptr;
}

// Tells whether bytes wait in the socket, or wait in its peer for being read.
bool isFilled(int descriptor) {
    int in = 0;
    int out = 0;
    return (ioctl(descriptor, SIOCINQ, &in) == 0 && in > 0) ||
           (ioctl(descriptor, SIOCOUTQ, &out) == 0 && out > 0);
}

// The library tells nobody which sockets they are. They are those that a wake-up fills and that are
// empty before and after it. Returns how many there are among `sockets`.
std::size_t keepWakeUpSockets(CURLM* multi, std::vector<int>& sockets) {
    std::erase_if(sockets, isFilled);
    curl_multi_wakeup(multi);
    std::erase_if(sockets, [](int socket) { return !isFilled(socket); });
    curl_multi_poll(multi, nullptr, 0, 0, nullptr);
    std::erase_if(sockets, isFilled);
    for (const int socket : sockets) {
        fcntl(socket, F_SETFD, FD_CLOEXEC);
    }
    return sockets.size();
}

}  // namespace

// The sockets take the lowest free numbers. A process may have many descriptors, so that all are
// only looked at if the sockets are not near those numbers. Other threads open and close some
// meanwhile.
CURLM* MakeMultiHandle() {
    if (sIsKeptByLibrary) {
        return curl_multi_init();
    }
    constexpr std::size_t cPair = 2;
    constexpr int cNear = 3;
    std::vector<int> sockets;
    const int first = lowestFreeDescriptor();
    std::unique_ptr<CURLM, MultiCleanup> multi(curl_multi_init());
    const int end = lowestFreeDescriptor();
    for (int descriptor = std::max(first - cNear, 0); descriptor < end + cNear; ++descriptor) {
        if (isInheritedSocket(descriptor)) {
            sockets.push_back(descriptor);
        }
    }
    if (multi != nullptr && keepWakeUpSockets(multi.get(), sockets) != cPair) {
        sockets.clear();
        if (findAllInherited(sockets) && keepWakeUpSockets(multi.get(), sockets) == 0) {
            sIsKeptByLibrary = true;
        }
    }
    return multi.release();
}

}  // namespace tvplatform
