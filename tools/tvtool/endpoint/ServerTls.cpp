#include "tvtool/endpoint/ServerTls.h"

#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"

#include <gnutls/gnutls.h>

#include <memory>
#include <new>

namespace tvtool {

namespace {

struct FreeCredentials {
    void operator()(gnutls_certificate_credentials_t credentials) const {
        gnutls_certificate_free_credentials(credentials);
    }
};

gnutls_datum_t datumOf(std::string& text) {
    return {reinterpret_cast<unsigned char*>(text.data()), static_cast<unsigned>(text.size())};
}

}  // namespace

ServerTls LoadServerTls(const std::string& certificate, const std::string& key) {
    ServerTls tls{ReadInput(certificate), ReadInput(key)};
    gnutls_certificate_credentials_t made = nullptr;
    if (gnutls_certificate_allocate_credentials(&made) != 0) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<gnutls_certificate_credentials_st, FreeCredentials> credentials(made);
    const gnutls_datum_t first = datumOf(tls.certificate);
    const gnutls_datum_t second = datumOf(tls.key);
    // Returns how many certificates the text holds.
    if (gnutls_certificate_set_x509_trust_mem(made, &first, GNUTLS_X509_FMT_PEM) <= 0) {
        Fail(Exit::Damaged, certificate, "holds no certificate (PEM)");
    }
    const int error =
        gnutls_certificate_set_x509_key_mem(made, &first, &second, GNUTLS_X509_FMT_PEM);
    if (error < 0) {
        Fail(Exit::Damaged, key,
             error == GNUTLS_E_CERTIFICATE_KEY_MISMATCH
                 ? "is not the key of " + certificate
                 : "holds no private key without a pass phrase (PEM)");
    }
    return tls;
}

}  // namespace tvtool
