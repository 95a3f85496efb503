// Read streams that fetch a web address.
//
// http and https only, at first and on every redirect; an https request is never redirected to
// http; 20 redirects at most. Certificates are always verified, against the system's store or what
// SSL_CERT_FILE and SSL_CERT_DIR name. Proxies come from the environment. A connection has 10
// seconds to come about, a peer 60 seconds for its next byte. Nothing is remembered between
// streams: no cookies, no passwords, no connections.
#pragma once

#include <CFNetwork/CFHTTPMessage.h>
#include <CoreFoundation/CFStream.h>

CF_EXTERN_C_BEGIN

// The header of the answer, once it is complete (CFHTTPMessageRef).
CF_EXPORT const CFStreamPropertyKey kCFStreamPropertyHTTPResponseHeader;
// The address that answered, after redirects (CFURLRef); with the header.
CF_EXPORT const CFStreamPropertyKey kCFStreamPropertyHTTPFinalURL;
// Whether redirects are followed (CFBooleanRef); false at first. Where they are not, the answer of
// the redirecting server is the answer.
CF_EXPORT const CFStreamPropertyKey kCFStreamPropertyHTTPShouldAutoredirect;

// Further error domains of such streams.
enum { kCFStreamErrorDomainSSL = 3, kCFStreamErrorDomainHTTP = 4, kCFStreamErrorDomainNetDB = 12 };
typedef SInt32 CFStreamErrorHTTP;
enum {
    kCFStreamErrorHTTPParseFailure = -1,
    kCFStreamErrorHTTPRedirectionLoop = -2,
    kCFStreamErrorHTTPBadURL = -3
};

// A new stream, owned by the caller, that will send a copy of the request; null for no request.
// The stream is not opened yet. Opening fails at once for a scheme other than http and https, an
// address without a host, a method other than GET, and where HTTP support cannot be loaded. Every
// status of an answer (404, 500, …) is a success of the stream.
CF_EXPORT CFReadStreamRef CFReadStreamCreateForHTTPRequest(CFAllocatorRef allocator,
                                                           CFHTTPMessageRef request);

CF_EXTERN_C_END
