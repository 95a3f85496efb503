// What arrays and dictionaries have in common: members that callbacks retain, release and compare.
#pragma once

#include <CoreFoundation/CFBase.h>

namespace tvplatform {

// The callbacks for objects. Null is never retained, so that it is never stored.
const void* RetainMember(CFAllocatorRef allocator, const void* member);
void ReleaseMember(CFAllocatorRef allocator, const void* member);

// The operations on members that a record of callbacks describes, absent ones replaced. One for
// each of the two or three records; copied by value.
template <class CallBacks>
class Members {
public:
    explicit Members(const CallBacks* callBacks)
        : callBacks_(callBacks != nullptr ? *callBacks : CallBacks{}) {}

    // What to store for a member that was handed in, retained. False when it is not to be stored.
    bool Retain(const void*& member) const {
        if (callBacks_.retain == nullptr) {
            return true;
        }
        member = callBacks_.retain(nullptr, member);
        return member != nullptr;
    }
    void Release(const void* member) const {
        if (callBacks_.release != nullptr) {
            callBacks_.release(nullptr, member);
        }
    }
    bool Equal(const void* a, const void* b) const {
        return a == b || (callBacks_.equal != nullptr && callBacks_.equal(a, b));
    }
    const CallBacks& Get() const { return callBacks_; }

private:
    CallBacks callBacks_;
};

}  // namespace tvplatform
