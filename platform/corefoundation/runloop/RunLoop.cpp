#include "corefoundation/runloop/RunLoop.h"

#include "corefoundation/object/ForkLocks.h"
#include "posix/CancellationGuard.h"

#include <CoreFoundation/CFString.h>

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <new>

namespace tvplatform {
namespace {

// If the system has no event descriptor left, nothing can end a wait. So the wait is cut into
// slices.
constexpr std::chrono::milliseconds cSliceWithoutWakeUp{50};

bool sameMode(CFStringRef a, CFStringRef b) {
    return a == b || CFEqual(a, b);
}

// Whether what is attached in `attached` is served while the loop runs in `running`.
bool covers(CFStringRef attached, CFStringRef running) {
    return sameMode(attached, running) ||
           (sameMode(attached, kCFRunLoopCommonModes) && sameMode(running, kCFRunLoopDefaultMode));
}

}  // namespace

// One item in one pass, with its part of the poll set.
struct RunLoop::Turn {
    Ref<RunLoopItem*> item;
    size_t first = 0;
    size_t end = 0;
};

struct RunLoop::ByOrder {
    bool operator()(const Attachment& a, CFIndex b) const { return a.item->Order() < b; }
    bool operator()(CFIndex a, const Attachment& b) const { return a < b.item->Order(); }
};

// A key and not a thread_local object with a destructor: registering one takes the dynamic loader's
// lock, and a thread must be able to have a loop while another one is inside dlopen.
pthread_key_t RunLoop::sKey;
const bool RunLoop::sHasKey = pthread_key_create(&sKey, EndThread) == 0;

RunLoop::RunLoop() : Object(cType), wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

RunLoop::~RunLoop() {
    if (wakeDescriptor_ >= 0) {
        close(wakeDescriptor_);
    }
}

RunLoop* RunLoop::Current() {
    auto* loop = static_cast<RunLoop*>(sHasKey ? pthread_getspecific(sKey) : nullptr);
    if (loop == nullptr) {
        loop = new RunLoop;
        if (!sHasKey || pthread_setspecific(sKey, loop) != 0) {
            loop->Release();
            throw std::bad_alloc();
        }
    }
    return loop;
}

bool RunLoop::IsCurrent() const {
    return sHasKey && pthread_getspecific(sKey) == this;
}

// Items hold their loop, so what is still attached would keep it for ever.
void RunLoop::EndThread(void* loop) {
    const tvposix::CancellationGuard guard;
    auto* self = static_cast<RunLoop*>(loop);
    self->DetachWhere([](const Attachment&) { return true; });
    self->Release();
}

void RunLoop::Attach(RunLoopItem& item, CFStringRef mode) {
    const std::lock_guard guard(LockOf(ForkLock::RunLoops));
    const bool known =
        std::any_of(attachments_.begin(), attachments_.end(), [&](const auto& other) {
            return other.item.Get() == &item && sameMode(other.mode.Get(), mode);
        });
    if (!known) {
        const auto place =
            std::upper_bound(attachments_.begin(), attachments_.end(), item.Order(), ByOrder{});
        attachments_.insert(place,
                            {Ref<RunLoopItem*>::Share(&item), Ref<CFStringRef>::Share(mode)});
    }
}

void RunLoop::Detach(const RunLoopItem& item, CFStringRef mode) {
    DetachWhere([&](const Attachment& attachment) {
        return attachment.item.Get() == &item && sameMode(attachment.mode.Get(), mode);
    });
}

void RunLoop::DetachFromAllModes(const RunLoopItem& item) {
    DetachWhere([&](const Attachment& attachment) { return attachment.item.Get() == &item; });
}

// Takes no memory, because it also runs where there is none.
template <class Predicate>
void RunLoop::DetachWhere(Predicate predicate) {
    for (;;) {
        // It is destroyed after the lock is free, because an item's destructor may call its owner.
        Attachment detached;
        const std::lock_guard guard(LockOf(ForkLock::RunLoops));
        const auto found = std::find_if(attachments_.begin(), attachments_.end(), predicate);
        if (found == attachments_.end()) {
            return;
        }
        detached = std::move(*found);
        attachments_.erase(found);
    }
}

bool RunLoop::Serves(const RunLoopItem& item, CFStringRef mode) const {
    const std::lock_guard guard(LockOf(ForkLock::RunLoops));
    return std::any_of(attachments_.begin(), attachments_.end(), [&](const Attachment& other) {
        return other.item.Get() == &item && covers(other.mode.Get(), mode);
    });
}

std::vector<RunLoop::Turn> RunLoop::ItemsOf(CFStringRef mode) const {
    std::vector<Turn> turns;
    const std::lock_guard guard(LockOf(ForkLock::RunLoops));
    for (const Attachment& attachment : attachments_) {
        // An item may be attached both in this mode and in the common ones.
        const bool known = std::any_of(turns.begin(), turns.end(), [&](const Turn& turn) {
            return turn.item.Get() == attachment.item.Get();
        });
        if (!known && covers(attachment.mode.Get(), mode)) {
            turns.push_back({attachment.item});
        }
    }
    return turns;
}

// So that an item that is always due does not keep the others from their turn.
void RunLoop::MoveBehindEquals(const RunLoopItem& item) {
    const std::lock_guard guard(LockOf(ForkLock::RunLoops));
    const auto [first, last] =
        std::equal_range(attachments_.begin(), attachments_.end(), item.Order(), ByOrder{});
    std::stable_partition(
        first, last, [&](const Attachment& attachment) { return attachment.item.Get() != &item; });
}

void RunLoop::WakeUp() {
    const uint64_t one = 1;
    // The only failure is a counter that is full: the loop is awake then.
    [[maybe_unused]] const ssize_t written = write(wakeDescriptor_, &one, sizeof one);
}

void RunLoop::PrepareWakeUp(PollSet& set) const {
    if (wakeDescriptor_ >= 0) {
        set.Add(wakeDescriptor_, POLLIN);
    } else {
        set.WaitUntil(Clock::now() + cSliceWithoutWakeUp);
    }
}

void RunLoop::ClearWakeUp() {
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = read(wakeDescriptor_, &count, sizeof count);
}

// The loop counts as waiting before it looks at its items for the last time. A thread that signals
// a source after that look therefore sees a waiting loop and wakes it.
bool RunLoop::Pass(std::vector<Turn>& turns, CFStringRef mode, Clock::time_point until,
                   bool onlyOne) {
    PollSet set(until);
    waiting_ = true;
    PrepareWakeUp(set);
    for (Turn& turn : turns) {
        turn.first = set.Descriptors().size();
        turn.item->Prepare(set);
        turn.end = set.Descriptors().size();
    }
    set.Wait();
    waiting_ = false;
    ClearWakeUp();

    bool handled = false;
    const std::span<const pollfd> polled(set.Descriptors());
    for (const Turn& turn : turns) {
        if (handled && onlyOne) {
            break;
        }
        if (Serves(*turn.item.Get(), mode)) {
            handled |= turn.item->Fire(polled.subspan(turn.first, turn.end - turn.first));
            if (handled && onlyOne) {
                MoveBehindEquals(*turn.item.Get());
            }
        }
    }
    return handled;
}

SInt32 RunLoop::Run(CFStringRef mode, Clock::time_point until, bool returnAfterSourceHandled) {
    for (;;) {
        std::vector<Turn> turns = ItemsOf(mode);
        if (turns.empty()) {
            return kCFRunLoopRunFinished;
        }
        const bool handled = Pass(turns, mode, until, returnAfterSourceHandled);
        if (handled && returnAfterSourceHandled) {
            return kCFRunLoopRunHandledSource;
        }
        if (Clock::now() >= until) {
            return kCFRunLoopRunTimedOut;
        }
    }
}

}  // namespace tvplatform
