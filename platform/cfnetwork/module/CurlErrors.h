// Turns the HTTP library's results into stream errors.
#pragma once

#include <CoreFoundation/CFStream.h>
#include <curl/curl.h>

namespace tvplatform {

// `systemError` is the errno of the last failed connection, or 0. `verification` is OpenSSL's
// result for the certificate that was looked at last.
CFStreamError StreamErrorOf(CURLcode result, long systemError, long verification);

}  // namespace tvplatform
