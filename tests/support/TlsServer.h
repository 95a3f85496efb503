// A TLS server on the loopback address: the openssl command's own test server, as a child process.
#pragma once

#include "tests/support/TempHome.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace tvtest {

// Answers GET /name with the file of that name in its folder, header and all. It serves one
// connection at a time.
class TlsServer {
public:
    // Makes a certificate of its own for an address, in the form that openssl takes. Two digits of
    // a year put its whole validity there.
    explicit TlsServer(const std::string& subjectAltName = "IP:127.0.0.1",
                       const std::string& year = "");
    // Ends the child process.
    ~TlsServer();
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;

    // Returns the file that makes clients trust this server.
    std::string Certificate() const { return folder_.Path("cert"); }
    // Adds a file to the folder.
    void Serve(std::string_view name, std::string_view answer) const {
        folder_.Write(name, answer);
    }
    std::string Url(std::string_view path) const;

private:
    TempDir folder_;
    FILE* output_ = nullptr;
    int child_ = -1;
    int port_ = 0;
};

}  // namespace tvtest
