#include "corefoundation/collection/Collection.h"

#include <new>
#include <set>
#include <utility>

namespace tvplatform {

const void* RetainMember(CFAllocatorRef, const void* member) {
    return CFRetain(member);
}
void ReleaseMember(CFAllocatorRef, const void* member) {
    CFRelease(member);
}

bool EqualOnce(const Object& a, const Object& b, bool (*equal)(const Object& a, const Object& b)) {
    using Pairs = std::set<std::pair<const Object*, const Object*>>;
    // The pairs of the outermost comparison.
    static thread_local Pairs* tKnown = nullptr;
    if (tKnown == nullptr) {
        Pairs known;
        struct Forget {
            ~Forget() { tKnown = nullptr; }
        } const forget;
        tKnown = &known;
        return equal(a, b);
    }
    if (tKnown->contains({&a, &b})) {
        return true;
    }
    const bool result = equal(a, b);
    try {
        if (result) {
            tKnown->emplace(&a, &b);
        }
    } catch (const std::bad_alloc&) {
        // Without memory the pair is compared again.
    }
    return result;
}

}  // namespace tvplatform
