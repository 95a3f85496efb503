#include "cfnetwork/module/CurlErrors.h"

#include <CFNetwork/CFHTTPStream.h>

#include <netdb.h>

#include <cerrno>

namespace tvplatform {
namespace {

CFStreamError posix(long systemError, int otherwise) {
    return {kCFStreamErrorDomainPOSIX,
            systemError != 0 ? static_cast<SInt32>(systemError) : otherwise};
}

CFStreamError http(SInt32 error) {
    return {kCFStreamErrorDomainHTTP, error};
}

CFStreamError tls(SInt32 error) {
    return {kCFStreamErrorDomainSSL, error};
}

// The numbers are those of OpenSSL's X509_V_ERR_ names. A build need not have its headers. libcurl
// itself compares the names: the result is then still the one that it begins with (1), or the good
// one of the chain (0).
SInt32 certificateError(long verification) {
    switch (verification) {
    case 9:
        return errSSLCertNotYetValid;
    case 10:
        return errSSLCertExpired;
    case 0:
    case 1:
    case 62:  // another host name
    case 64:  // another IP address
        return errSSLHostNameMismatch;
    default:
        return errSSLXCertChainInvalid;
    }
}

}  // namespace

CFStreamError StreamErrorOf(CURLcode result, long systemError, long verification) {
    switch (result) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return {kCFStreamErrorDomainNetDB, EAI_NONAME};
    case CURLE_COULDNT_CONNECT:
    case CURLE_INTERFACE_FAILED:
        return posix(systemError, ECONNREFUSED);
    case CURLE_OPERATION_TIMEDOUT:
        return {kCFStreamErrorDomainPOSIX, ETIMEDOUT};
    case CURLE_OUT_OF_MEMORY:
        return {kCFStreamErrorDomainPOSIX, ENOMEM};
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
        return posix(systemError, ECONNRESET);
    case CURLE_PEER_FAILED_VERIFICATION:
        return tls(certificateError(verification));
    case CURLE_SSL_CACERT_BADFILE:
        return tls(errSSLBadConfiguration);
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return tls(errSSLProtocol);
    case CURLE_TOO_MANY_REDIRECTS:
        return http(kCFStreamErrorHTTPRedirectionLoop);
    case CURLE_URL_MALFORMAT:
        return http(kCFStreamErrorHTTPBadURL);
    case CURLE_LOGIN_DENIED:
        return http(kCFErrorHTTPBadProxyCredentials);
    case CURLE_PROXY:
        return http(kCFErrorHTTPSProxyConnectionFailure);
    case CURLE_UNSUPPORTED_PROTOCOL:  // A redirect to what may not be followed, or no HTTP at all.
    case CURLE_WEIRD_SERVER_REPLY:
    default:
        return http(kCFStreamErrorHTTPParseFailure);
    }
}

}  // namespace tvplatform
