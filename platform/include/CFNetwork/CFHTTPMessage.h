// SPDX-License-Identifier: LicenseRef-TVframework
// HTTP requests and the headers of answers. Several threads may read a message at once. One thread
// at a time may change it.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFURL.h>

CF_EXTERN_C_BEGIN

typedef struct __CFHTTPMessage* CFHTTPMessageRef;

CF_EXPORT const CFStringRef kCFHTTPVersion1_1;

// Returns a new request, which the caller owns. Returns null if an argument is missing or has the
// wrong type, or if the address has no scheme. Only GET can be sent, and always as HTTP/1.1.
CF_EXPORT CFHTTPMessageRef CFHTTPMessageCreateRequest(CFAllocatorRef allocator,
                                                      CFStringRef requestMethod, CFURLRef url,
                                                      CFStringRef httpVersion);
// Sets or replaces a header, or removes it if the value is null. Names match in any case. Nothing
// changes if the name is no HTTP token or the value holds a control character. Values go out in
// UTF-8.
CF_EXPORT void CFHTTPMessageSetHeaderFieldValue(CFHTTPMessageRef message, CFStringRef headerField,
                                                CFStringRef value);

// Returns the status of an answer, for example 200, and 0 for a request.
CF_EXPORT CFIndex CFHTTPMessageGetResponseStatusCode(CFHTTPMessageRef response);

CF_EXTERN_C_END
