#include "corefoundation/runloop/RunLoopPollSet.h"

#include <cstdint>

namespace tvplatform {

void PollSet::Wait() {
    int timeout = 0;
    if (const auto now = Clock::now(); until_ > now) {
        // Rounded up, so that a loop does not spin through the last part of a millisecond.
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(until_ - now).count();
        timeout = static_cast<int>(std::min<int64_t>(rest, INT32_MAX));
    }
    if (poll(descriptors_.data(), descriptors_.size(), timeout) < 0) {
        for (pollfd& descriptor : descriptors_) {
            descriptor.revents = 0;
        }
    }
}

}  // namespace tvplatform
