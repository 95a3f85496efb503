#include "corefoundation/runloop/RunLoopSource.h"

namespace tvplatform {

RunLoopSource::RunLoopSource(CFIndex order, const CFRunLoopSourceContext& context)
    : RunLoopItem(cType, order), context_(context) {
    if (context_.retain != nullptr) {
        context_.retain(context_.info);
    }
}

RunLoopSource::~RunLoopSource() {
    if (context_.release != nullptr) {
        context_.release(context_.info);
    }
}

void RunLoopSource::Prepare(PollSet& set) {
    if (signalled_) {
        set.DoNotWait();
    }
}

bool RunLoopSource::Fire(std::span<const pollfd>) {
    if (!signalled_.exchange(false)) {
        return false;
    }
    if (context_.perform != nullptr) {
        context_.perform(context_.info);
    }
    return true;
}

}  // namespace tvplatform
