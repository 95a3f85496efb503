// Makes handles of libcurl's multi interface.
#pragma once

#include <curl/curl.h>

namespace tvplatform {

// Returns a handle, which the caller owns: the spare one, or a new one. No program that the process
// starts inherits the descriptors behind its curl_multi_wakeup, unless the process has no
// descriptor left to look for them with. Returns null if a handle cannot be made. Throws
// std::bad_alloc.
CURLM* TakeMultiHandle();

// Takes a handle over and keeps it for the next transfer. It must have no transfer and no
// connection.
void KeepSpareMultiHandle(CURLM* multi);

// Gives the spare handle back to the library, if there is one.
void DropSpareMultiHandle();

// Keeps a socket that the library made itself from the programs that the process starts, and the
// other one of its pair if that has a neighbouring number. The library waits for a name look-up
// with such a pair and tells only one.
void KeepPairFromPrograms(int socket);

}  // namespace tvplatform
