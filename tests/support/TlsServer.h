// TLS servers on the loopback address, with certificates that are made for the test: the openssl
// command's own test server, as a child process.
#pragma once

#include "tests/support/TempHome.h"

#include <sys/types.h>

#include <string>
#include <string_view>

namespace tvtest {

// A certificate authority and the certificates that it gave, in a temporary folder.
class TestCertificates {
public:
    TestCertificates();
    std::string AuthorityFile() const { return folder_.Path("ca.pem"); }
    // Makes a certificate and returns the path without ".pem" (certificate) and ".key".
    // `subjectAltName` as openssl writes it: "IP:127.0.0.1,DNS:localhost".
    std::string Issue(const std::string& name, const std::string& subjectAltName, int days) const;
    std::string SelfSign(const std::string& name, const std::string& subjectAltName) const;

private:
    TempDir folder_;
};

class TlsServer {
public:
    // What the server does with a connection.
    enum class Kind {
        Files,  // Answers GET /name with the file of that name in the folder, header and all.
        Pipe,   // Sends what Say is given to the one connection, and reads for ever.
    };

    TlsServer(const std::string& certificate, Kind kind);
    // Ends the child process.
    ~TlsServer();
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;

    // Adds a file to the folder.
    void Serve(std::string_view name, std::string_view answer) const {
        folder_.Write(name, answer);
    }
    void Say(std::string_view bytes) const;
    // For a pipe.
    void WaitForRequest() const;
    std::string Url(std::string_view path = "/") const;

private:
    TempDir folder_;
    pid_t child_ = -1;
    int input_ = -1;
    int output_ = -1;
    int port_ = 0;
};

}  // namespace tvtest
