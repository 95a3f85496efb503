// HTTP requests and the headers of answers. A message may be read on several threads at once;
// changing it is for one thread.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFURL.h>

CF_EXTERN_C_BEGIN

typedef struct __CFHTTPMessage* CFHTTPMessageRef;

CF_EXPORT const CFStringRef kCFHTTPVersion1_0;
CF_EXPORT const CFStringRef kCFHTTPVersion1_1;

CF_EXPORT CFTypeID CFHTTPMessageGetTypeID(void);

// A new request, owned by the caller; null when an argument is missing or of the wrong type, and
// for an address that has no scheme. Only GET can be sent, as HTTP/1.1 whatever version is named.
CF_EXPORT CFHTTPMessageRef CFHTTPMessageCreateRequest(CFAllocatorRef allocator,
                                                      CFStringRef requestMethod, CFURLRef url,
                                                      CFStringRef httpVersion);
// Sets, replaces or (null value) removes a header; names match in any case. A name that is no HTTP
// token and a value with a control character change nothing: such a header is never sent. Values
// go out in UTF-8.
CF_EXPORT void CFHTTPMessageSetHeaderFieldValue(CFHTTPMessageRef message, CFStringRef headerField,
                                                CFStringRef value);

CF_EXPORT Boolean CFHTTPMessageIsRequest(CFHTTPMessageRef message);
// New references; null where the message has no such thing.
CF_EXPORT CFURLRef CFHTTPMessageCopyRequestURL(CFHTTPMessageRef request);
CF_EXPORT CFStringRef CFHTTPMessageCopyRequestMethod(CFHTTPMessageRef request);
CF_EXPORT CFStringRef CFHTTPMessageCopyVersion(CFHTTPMessageRef message);
// Several headers of one name come joined by ", ".
CF_EXPORT CFStringRef CFHTTPMessageCopyHeaderFieldValue(CFHTTPMessageRef message,
                                                        CFStringRef headerField);
// The status of an answer, 200 for example; 0 for a request.
CF_EXPORT CFIndex CFHTTPMessageGetResponseStatusCode(CFHTTPMessageRef response);

CF_EXTERN_C_END
