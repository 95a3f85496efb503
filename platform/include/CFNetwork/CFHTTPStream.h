// SPDX-License-Identifier: LicenseRef-TVframework
// Read streams that fetch a web address.
//
// They use http and https only, at first and on every redirect. A redirect never leads from https
// to http, and at most 20 redirects are followed. Certificates are always verified, against the
// system's store or against what SSL_CERT_FILE and SSL_CERT_DIR name. Proxies come from the
// environment. A connection has 10 seconds to come about, and a peer has 60 seconds for its next
// byte. Streams share no cookies, passwords or connections.
#pragma once

#include <CFNetwork/CFHTTPMessage.h>
#include <CoreFoundation/CFStream.h>

CF_EXTERN_C_BEGIN

// The header of the answer (CFHTTPMessageRef). It has no value before the header is complete.
CF_EXPORT const CFStreamPropertyKey kCFStreamPropertyHTTPResponseHeader;
// Tells whether redirects are followed (CFBooleanRef). It is false at first. If redirects are not
// followed, the answer of the redirecting server is the answer.
CF_EXPORT const CFStreamPropertyKey kCFStreamPropertyHTTPShouldAutoredirect;

// Further error domains of such streams.
enum { kCFStreamErrorDomainSSL = 3, kCFStreamErrorDomainHTTP = 4, kCFStreamErrorDomainNetDB = 12 };
typedef SInt32 CFStreamErrorHTTP;
enum {
    kCFStreamErrorHTTPParseFailure = -1,
    kCFStreamErrorHTTPRedirectionLoop = -2,
    kCFStreamErrorHTTPBadURL = -3
};
// Further numbers of kCFStreamErrorDomainHTTP: a proxy asks for a name and a password, or refuses
// the connection to the server.
enum { kCFErrorHTTPBadProxyCredentials = 307, kCFErrorHTTPSProxyConnectionFailure = 310 };
// Numbers of kCFStreamErrorDomainSSL. Each certificate is a server's, or that of a proxy that is
// reached by TLS.
enum {
    errSSLProtocol = -9800,           // The peer speaks no TLS, or the handshake failed.
    errSSLXCertChainInvalid = -9807,  // No trusted authority stands behind the certificate.
    errSSLCertExpired = -9814,
    errSSLCertNotYetValid = -9815,
    errSSLHostNameMismatch = -9843,  // The certificate is another host's.
    errSSLBadConfiguration = -9848   // The certificates to trust cannot be read.
};

// Returns a new stream, which the caller owns and which sends a copy of the request. Returns null
// if `request` is no request, or if it can never be sent: its method is not GET, its scheme is not
// http or https, it has no host, or its port is not from 1 to 65535. The stream is not opened yet.
// If HTTP support cannot be loaded, the opened stream reports ENOSYS as its error. An answer of any
// status (404, 500, …) is a success of the stream.
CF_EXPORT CFReadStreamRef CFReadStreamCreateForHTTPRequest(CFAllocatorRef allocator,
                                                           CFHTTPMessageRef request);

CF_EXTERN_C_END
