// Sends the user's details to the product registration, and makes the parts of the request. One
// thread at a time may use this; the request itself runs on a thread of its own.
#pragma once

#include "interface/CRegInfo.h"
#include "text/CString.h"

#include <CoreFoundation/CoreFoundation.h>

namespace Tova {

// Returns true if the user has agreed to sending: the number under SendKey() is exactly 1.
bool IsSendingAllowed(CFDictionaryRef details);

// Makes `address` the address to which details go: "ProdRegURL" of the shared registry under the
// application's key, else the build's default. A build without a default host gives
// "https:///v/prod_reg", which cannot be made into a request.
void GetRegistrationAddress(CString& address);
// Appends "?" and the details as a form-encoded query, whatever the address holds already.
void AppendRegistrationQuery(const CRegInfo& record, CString& address);
// Sets `address` to the registration address with the query of the details.
void BuildRegistrationAddress(const CRegInfo& record, CString& address);
// Sets `userAgent` to the text of the User-Agent header.
void GetRegistrationUserAgent(CString& userAgent);

// Starts the request and returns, without reporting how the request ends. The request runs until it
// is done or the process ends. Sends nothing if no thread can be made, or if the process has few
// descriptors left.
void SendRegInfo(const CRegInfo& record);

}  // namespace Tova
