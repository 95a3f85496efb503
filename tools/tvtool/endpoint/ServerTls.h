// A certificate and its key, for a server.
#pragma once

#include <string>

namespace tvtool {

// Both texts are in PEM form.
struct ServerTls {
    std::string certificate;
    std::string key;
};

// Reads two PEM files; the first may go on with the certificates of its issuers. Throws ToolError
// for a file that cannot be read or used.
ServerTls LoadServerTls(const std::string& certificate, const std::string& key);

}  // namespace tvtool
