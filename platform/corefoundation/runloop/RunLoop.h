// A thread's run loop. Any thread may call anything, except where a comment names the loop's
// thread.
#pragma once

#include "corefoundation/object/Ref.h"
#include "corefoundation/runloop/RunLoopItem.h"

#include <CoreFoundation/CFRunLoop.h>

#include <pthread.h>

#include <vector>

namespace tvplatform {

class RunLoop final : public Object {
public:
    static constexpr TypeId cType = TypeId::RunLoop;

    // Returns the calling thread's loop, borrowed. Throws std::bad_alloc if there is no memory for
    // it.
    static RunLoop* Current();
    ~RunLoop() override;

    void Attach(RunLoopItem& item, CFStringRef mode);
    void Detach(const RunLoopItem& item, CFStringRef mode);
    void DetachFromAllModes(const RunLoopItem& item);

    bool IsWaiting() const { return waiting_; }
    void WakeUp();
    // Returns true on the loop's thread.
    bool IsCurrent() const;

    // Only on the loop's thread. Returns a CFRunLoopRunResult.
    SInt32 Run(CFStringRef mode, Clock::time_point until, bool returnAfterSourceHandled);
    // PrepareWakeUp adds the descriptor with which WakeUp ends a wait. ClearWakeUp follows the
    // wait.
    void PrepareWakeUp(PollSet& set) const;
    void ClearWakeUp();

private:
    struct Attachment {
        Ref<RunLoopItem*> item;
        Ref<CFStringRef> mode;
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

    static pthread_key_t sKey;
    // It is false if the process had no key left.
    static const bool sHasKey;

    // Guarded by ForkLock::RunLoops. Sorted by order. Equal orders stay as they were attached.
    std::vector<Attachment> attachments_;
    std::atomic<bool> waiting_{false};
    int wakeDescriptor_;
};

}  // namespace tvplatform
