// The preferences domain of the product: current user, any host.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

namespace Tova {

class CPrefs {
public:
    // Returns the domain's identifier. Callers do not release it.
    static CFStringRef Domain() { return CFSTR("com.NimbusWorks.NWCX7"); }
    // Writes changes out and takes in those of other processes.
    static void Synchronize();
    // Removes `key`, exactly as given, and writes the domain out. Returns 0 if `key` is null, and
    // otherwise 1, even if the domain could not be written.
    static int Clear(CFStringRef key);
};

}  // namespace Tova
