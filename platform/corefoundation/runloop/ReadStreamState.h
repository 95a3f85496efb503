// Tells how far the bytes of a stream have come.
#pragma once

#include <CoreFoundation/CFStream.h>

namespace tvplatform {

// `ended` and `failed` may be set while there are bytes left.
struct DriverState {
    bool opened = false;
    bool hasBytes = false;
    bool ended = false;
    bool failed = false;
    CFStreamError error{0, 0};
};

}  // namespace tvplatform
