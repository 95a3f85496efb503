// Opens the HTTP module on the first request. Any thread.
#pragma once

#include "cfnetwork/HttpTransfer.h"

namespace tvplatform {

// The module's function, with the library behind it initialised; null where the module, which lies
// beside this library, cannot be loaded (a later request tries again) or its library fails to start
// (which holds for the process).
HttpOpenFunction LoadHttp();

}  // namespace tvplatform
