// The one place that turns the system's error numbers into those of the calls on files and folders.
#pragma once

#include <CoreServices/MacErrors.h>

namespace tvplatform {

// 0 is noErr; a number without a counterpart is ioErr.
OSErr FileErrorOf(int errorNumber);

}  // namespace tvplatform
