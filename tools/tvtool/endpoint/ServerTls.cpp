#include "tvtool/endpoint/ServerTls.h"

#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"

#include <openssl/err.h>

#include <new>

namespace tvtool {

TlsContext LoadServerTls(const std::string& certificate, const std::string& key) {
    // Throws for a file that is not there, may not be read, or is none.
    static_cast<void>(ReadInput(certificate));
    static_cast<void>(ReadInput(key));
    TlsContext context(SSL_CTX_new(TLS_server_method()));
    if (!context) {
        throw std::bad_alloc();
    }
    SSL_CTX_set_mode(context.get(),
                     SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    // Never asks a terminal for a pass phrase.
    SSL_CTX_set_default_passwd_cb(context.get(), [](char*, int, int, void*) { return 0; });
    if (SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) != 1) {
        Fail(Exit::Damaged, certificate, "holds no certificate (PEM)");
    }
    // Loading a key compares it with the certificate too.
    if (SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM) != 1) {
        const bool isOther = ERR_GET_REASON(ERR_peek_last_error()) == X509_R_KEY_VALUES_MISMATCH;
        Fail(Exit::Damaged, key,
             isOther ? "is not the key of " + certificate
                     : "holds no private key without a pass phrase (PEM)");
    }
    return context;
}

}  // namespace tvtool
