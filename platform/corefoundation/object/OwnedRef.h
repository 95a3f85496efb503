// Holds what a Create or Copy function returned and releases it: Owned<CFStringRef>. One thread at
// a time may use a holder.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <memory>
#include <type_traits>

namespace tvplatform {

struct ReleaseRef {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

template <class Ref>
using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, ReleaseRef>;

// A holder with a reference of its own on a borrowed object, which may be null.
template <class Ref>
Owned<Ref> Share(Ref borrowed) {
    CFRetain(borrowed);
    return Owned<Ref>(borrowed);
}

}  // namespace tvplatform
