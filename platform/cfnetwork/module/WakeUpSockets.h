// Keeps the sockets that libcurl makes for itself from programs that the process starts.
#pragma once

#include <curl/curl.h>

namespace tvplatform {

// Sets the close-on-exec flag of the pair of sockets behind curl_multi_wakeup, if it lacks it. No
// wake-up may be pending. Does nothing if there is no descriptor left to look for them with. Throws
// std::bad_alloc.
void KeepWakeUpSocketsFromPrograms(CURLM* multi);

}  // namespace tvplatform
