// Opens the HTTP module on the first request. Any thread.
#pragma once

#include "cfnetwork/HttpTransfer.h"

namespace tvplatform {

// Returns the module's function and initialises the library behind it. Returns null if the module,
// which lies beside this library, cannot be loaded. A later request then tries again. Returns null
// for the rest of the process if the library behind it fails to start.
HttpOpenFunction LoadHttp();

}  // namespace tvplatform
