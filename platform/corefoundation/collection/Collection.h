// The common part of arrays and dictionaries: members that callbacks retain, release and compare.
#pragma once

#include "corefoundation/object/Object.h"

#include <CoreFoundation/CFBase.h>

namespace tvplatform {

// The callbacks for objects. RetainMember returns null for null, so that it is never stored.
const void* RetainMember(CFAllocatorRef allocator, const void* member);
void ReleaseMember(CFAllocatorRef allocator, const void* member);

// Returns what `equal` says of two collections. It is not asked again about a pair that was equal
// within the same comparison, because collections may share members many times over.
bool EqualOnce(const Object& a, const Object& b, bool (*equal)(const Object& a, const Object& b));

// The operations on members that a record of callbacks describes. An absent callback does nothing,
// and an absent `equal` compares pointers.
template <class CallBacks>
class Members {
public:
    explicit Members(const CallBacks* callBacks)
        : callBacks_(callBacks != nullptr ? *callBacks : CallBacks{}) {}

    // Retains a member and replaces it by what is to be stored. Returns false if nothing is.
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
