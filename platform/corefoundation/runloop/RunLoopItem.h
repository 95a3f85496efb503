// Something that a run loop serves.
#pragma once

#include "corefoundation/object/Object.h"
#include "corefoundation/runloop/RunLoopPollSet.h"

#include <span>

namespace tvplatform {

// Both operations run on the loop's thread, and the loop holds no lock then.
class RunLoopItem : public Object {
public:
    // Adds what the loop is to wait for. The loop counts as waiting before it calls this.
    virtual void Prepare(PollSet& set) = 0;
    // Goes on after the wait. `polled` holds the descriptors that this item added. Returns true if
    // the item called back.
    virtual bool Fire(std::span<const pollfd> polled) = 0;

    // A lower order comes first.
    CFIndex Order() const { return order_; }

protected:
    RunLoopItem(TypeId type, CFIndex order) : Object(type), order_(order) {}

private:
    const CFIndex order_;
};

}  // namespace tvplatform
