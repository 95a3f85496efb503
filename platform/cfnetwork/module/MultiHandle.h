// Makes handles of libcurl's multi interface.
#pragma once

#include <curl/curl.h>

namespace tvplatform {

// Makes a handle. No program that the process starts inherits the descriptors behind its
// curl_multi_wakeup, unless the process has no descriptor left to look for them with. Returns null
// if the handle cannot be made. Throws std::bad_alloc.
CURLM* MakeMultiHandle();

// Keeps a socket that the library made itself from the programs that the process starts, and the
// other one of its pair if that has a neighbouring number. The library waits for a name look-up
// with such a pair and tells only one.
void KeepPairFromPrograms(int socket);

}  // namespace tvplatform
