// The preferences domain of the product: current user, any host.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

namespace Tova {

class CPrefs {
public:
    // The domain's identifier; never released.
    static CFStringRef Domain();
    // Writes changes out and takes in those of other processes.
    static void Synchronize();
    // Removes `key`, exactly as given, and writes the domain out. 1, whatever became of that; 0
    // for null.
    static int Clear(CFStringRef key);
};

}  // namespace Tova
