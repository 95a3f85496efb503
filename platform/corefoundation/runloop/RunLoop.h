// Run loops and what they serve. Any thread, except where a comment says the loop's.
#pragma once

#include "corefoundation/object/Object.h"
#include "corefoundation/object/Ref.h"
#include "corefoundation/runloop/RunLoopPollSet.h"

#include <CoreFoundation/CFRunLoop.h>

#include <mutex>
#include <span>
#include <vector>

namespace tvplatform {

// Something that can be attached to a loop. Both operations run on the loop's thread, with no lock
// of the loop held.
class RunLoopItem : public Object {
public:
    // Adds what the loop is to wait for. Called after the loop counts as waiting.
    virtual void Prepare(PollSet& set) = 0;
    // Goes on after the wait, given the descriptors that this item added. True when it called back.
    virtual bool Fire(std::span<const pollfd> polled) = 0;
    virtual bool IsValid() const { return true; }

    // Lower comes first.
    CFIndex Order() const { return order_; }

protected:
    RunLoopItem(TypeId type, CFIndex order) : Object(type), order_(order) {}

private:
    const CFIndex order_;
};

class RunLoop final : public Object {
public:
    static constexpr TypeId cType = TypeId::RunLoop;

    // The calling thread's loop, borrowed; null only without memory.
    static RunLoop* Current();
    ~RunLoop() override;

    void Attach(RunLoopItem& item, CFStringRef mode);
    void Detach(const RunLoopItem& item, CFStringRef mode);
    void DetachFromAllModes(const RunLoopItem& item);
    bool IsAttached(const RunLoopItem& item, CFStringRef mode) const;

    bool IsWaiting() const { return waiting_; }
    void WakeUp();
    void Stop();
    bool IsCurrent() const;

    // The loop's thread.
    SInt32 Run(CFStringRef mode, Clock::time_point until, bool returnAfterSourceHandled);
    // Adds what ends a wait in WakeUp, and takes it back after the wait.
    void PrepareWakeUp(PollSet& set) const;
    void ClearWakeUp();

private:
    struct Attachment {
        Ref<RunLoopItem*> item;
        CFStringRef mode;
    };
    struct ByOrder;
    struct Turn;

    RunLoop();
    static void EndThread(void* loop);
    template <class Predicate>
    void DetachWhere(Predicate predicate);
    std::vector<Turn> ItemsOf(CFStringRef mode) const;
    bool Serves(const RunLoopItem& item, CFStringRef mode) const;
    void MoveBehindEquals(const RunLoopItem& item);
    bool Pass(std::vector<Turn>& turns, CFStringRef mode, Clock::time_point until, bool onlyOne);

    mutable std::mutex lock_;
    // Sorted by order, else as attached.
    std::vector<Attachment> attachments_;
    std::atomic<bool> waiting_{false};
    std::atomic<bool> stopped_{false};
    int wakeDescriptor_;
};

class RunLoopSource final : public RunLoopItem {
public:
    static constexpr TypeId cType = TypeId::RunLoopSource;

    RunLoopSource(CFIndex order, const CFRunLoopSourceContext& context);
    ~RunLoopSource() override;

    void Signal() { signalled_ = true; }
    void Invalidate() { valid_ = false; }

    void Prepare(PollSet& set) override;
    bool Fire(std::span<const pollfd> polled) override;
    bool IsValid() const override { return valid_; }

private:
    const CFRunLoopSourceContext context_;
    std::atomic<bool> signalled_{false};
    std::atomic<bool> valid_{true};
};

}  // namespace tvplatform
