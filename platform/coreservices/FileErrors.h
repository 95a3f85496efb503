// Turns the system's error numbers into those of the calls on files and folders.
#pragma once

#include <CoreServices/MacErrors.h>

namespace tvplatform {

// Returns noErr for 0, and ioErr for a number without a counterpart.
OSErr FileErrorOf(int errorNumber);

}  // namespace tvplatform
