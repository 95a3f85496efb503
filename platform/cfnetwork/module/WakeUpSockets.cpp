#include "cfnetwork/module/WakeUpSockets.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace tvplatform {
namespace {

// Tells whether bytes wait in the socket, or wait in its peer for being read.
bool isFilled(int descriptor) {
    int in = 0;
    int out = 0;
    return (ioctl(descriptor, SIOCINQ, &in) == 0 && in > 0) ||
           (ioctl(descriptor, SIOCOUTQ, &out) == 0 && out > 0);
}

std::vector<int> inheritedDescriptors() {
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

}  // namespace

// The library tells nobody which sockets they are. They are those that a wake-up fills and that are
// empty before and after it.
void KeepWakeUpSocketsFromPrograms(CURLM* multi) {
    std::vector<int> sockets = inheritedDescriptors();
    std::erase_if(sockets, isFilled);
    curl_multi_wakeup(multi);
    std::erase_if(sockets, [](int socket) { return !isFilled(socket); });
    curl_multi_poll(multi, nullptr, 0, 0, nullptr);
    std::erase_if(sockets, isFilled);
    for (const int socket : sockets) {
        fcntl(socket, F_SETFD, FD_CLOEXEC);
    }
}

}  // namespace tvplatform
