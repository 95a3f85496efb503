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

}  // namespace

CFStreamError StreamErrorOf(CURLcode result, long systemError) {
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
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return {kCFStreamErrorDomainSSL, static_cast<SInt32>(result)};
    case CURLE_TOO_MANY_REDIRECTS:
        return http(kCFStreamErrorHTTPRedirectionLoop);
    case CURLE_URL_MALFORMAT:
        return http(kCFStreamErrorHTTPBadURL);
    case CURLE_UNSUPPORTED_PROTOCOL:  // A redirect to what may not be followed, or no HTTP at all.
    case CURLE_WEIRD_SERVER_REPLY:
    default:
        return http(kCFStreamErrorHTTPParseFailure);
    }
}

}  // namespace tvplatform
