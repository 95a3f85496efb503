// Keeps the sockets that libcurl makes for itself from programs that the process starts.
#pragma once

#include <curl/curl.h>

namespace tvplatform {

// Makes a handle. The pair of sockets behind its curl_multi_wakeup gets the close-on-exec flag, if
// it lacks it and a descriptor is left to look for it with. Returns null if the handle cannot be
// made. Throws std::bad_alloc.
CURLM* MakeMultiHandle();

}  // namespace tvplatform
