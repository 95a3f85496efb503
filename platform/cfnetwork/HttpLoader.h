// Opens the HTTP module on the first request. Any thread may use it.
#pragma once

#include "cfnetwork/HttpTransfer.h"

namespace tvplatform {

// Makes an exit stop later loads. Call this on the thread that wants a stream, since that one may
// go on to an exit while another thread opens the stream.
void WatchExit();

// Loads the module from its folder beside this library, and initialises the library behind it,
// which takes some 20 ms the first time. Returns the module's function. Returns null if the module
// cannot be loaded; a later call then tries again. Returns null for the rest of the process once it
// exits, or if the library behind the module fails to start, and to a set-user-id program that
// somebody has given the variable SSLKEYLOGFILE. An exit and a fork wait for a load
// under way.
HttpOpenFunction LoadHttp();

}  // namespace tvplatform
