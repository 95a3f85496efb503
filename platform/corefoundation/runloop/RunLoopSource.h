// An item of a run loop that a program signals. Any thread may signal it.
#pragma once

#include "corefoundation/runloop/RunLoopItem.h"

#include <CoreFoundation/CFRunLoop.h>

namespace tvplatform {

class RunLoopSource final : public RunLoopItem {
public:
    static constexpr TypeId cType = TypeId::RunLoopSource;

    RunLoopSource(CFIndex order, const CFRunLoopSourceContext& context);
    ~RunLoopSource() override;

    void Signal() { signalled_ = true; }

    void Prepare(PollSet& set) override;
    bool Fire(std::span<const pollfd> polled) override;

private:
    const CFRunLoopSourceContext context_;
    std::atomic<bool> signalled_{false};
};

}  // namespace tvplatform
