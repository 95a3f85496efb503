#include "tests/support/TlsServer.h"

#include <signal.h>

#include <stdexcept>

namespace tvtest {

// The shell tells its number, which is then the server's. The server tells its port. The year is
// changed in the finished certificate: nobody checks the signature of one that is trusted itself.
TlsServer::TlsServer(const std::string& subjectAltName, const std::string& year) {
    const std::string command =
        "exec 2>/dev/null </dev/null; cd " + folder_.Path() +
        " && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj "
        "/CN=x"
        " -addext subjectAltName=" +
        subjectAltName +
        " -keyout key -outform der -out der && LC_ALL=C sed -E 's/(\\x17\\r)(..)([0-9]{10}Z)/\\1" +
        (year.empty() ? "\\2" : year) +
        "\\3/g' der | openssl x509 -inform der -out cert && echo $$"
        " && exec openssl s_server -HTTP -accept 127.0.0.1:0 -cert cert -key key";
    output_ = popen(command.c_str(), "re");
    char line[200] = "";
    if (output_ == nullptr || fscanf(output_, "%d", &child_) != 1) {
        throw std::runtime_error("openssl makes no certificate");
    }
    while (sscanf(line, "ACCEPT 127.0.0.1:%d", &port_) != 1) {
        if (fgets(line, sizeof line, output_) == nullptr) {
            throw std::runtime_error("the TLS server ended");
        }
    }
}

TlsServer::~TlsServer() {
    kill(child_, SIGKILL);
    pclose(output_);
}

std::string TlsServer::Url(std::string_view path) const {
    return "https://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

}  // namespace tvtest
