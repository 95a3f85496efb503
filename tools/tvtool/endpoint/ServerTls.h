// A certificate and its key, for a server.
#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace tvtool {

struct FreeTlsContext {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeTlsContext>;

// Both files are PEM; the first may go on with the certificates of its issuers. ToolError for what
// cannot be read or used.
TlsContext LoadServerTls(const std::string& certificate, const std::string& key);

}  // namespace tvtool
