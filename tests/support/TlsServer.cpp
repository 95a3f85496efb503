#include "tests/support/TlsServer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace tvtest {
namespace {

constexpr char cNewKey[] = " -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes ";

void run(const std::string& arguments) {
    if (std::system(("openssl " + arguments + " >/dev/null 2>&1").c_str()) != 0) {
        throw std::runtime_error("openssl failed: " + arguments);
    }
}

// Reads the child's output up to the end of the line with `mark`, and returns that line from there.
std::string readUpTo(int output, std::string_view mark) {
    std::string text;
    char byte = 0;
    while (read(output, &byte, 1) == 1) {
        text.push_back(byte);
        const size_t found = text.find(mark);
        if (found != std::string::npos && byte == '\n') {
            return text.substr(found);
        }
    }
    throw std::runtime_error("the TLS server ended: " + text);
}

}  // namespace

TestCertificates::TestCertificates() {
    const std::string ca = folder_.Path("ca");
    run("req -x509" + std::string(cNewKey) + "-keyout " + ca + ".key -out " + ca +
        ".pem -subj '/CN=Test authority' -days 2");
}

std::string TestCertificates::Issue(const std::string& name, const std::string& subjectAltName,
                                    int days) const {
    const std::string path = folder_.Path(name);
    const std::string ca = folder_.Path("ca");
    folder_.Write(name + ".ext", "subjectAltName=" + subjectAltName + "\n");
    run("req" + std::string(cNewKey) + "-keyout " + path + ".key -out " + path +
        ".csr -subj /CN=server");
    run("x509 -req -in " + path + ".csr -CA " + ca + ".pem -CAkey " + ca + ".key -days " +
        std::to_string(days) + " -extfile " + path + ".ext -out " + path + ".pem");
    return path;
}

std::string TestCertificates::SelfSign(const std::string& name,
                                       const std::string& subjectAltName) const {
    const std::string path = folder_.Path(name);
    run("req -x509" + std::string(cNewKey) + "-keyout " + path + ".key -out " + path +
        ".pem -subj /CN=server -days 2 -addext subjectAltName=" + subjectAltName);
    return path;
}

TlsServer::TlsServer(const std::string& certificate, Kind kind) {
    int toChild[2];
    int fromChild[2];
    if (pipe(toChild) != 0 || pipe(fromChild) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string pem = certificate + ".pem";
    const std::string key = certificate + ".key";
    const std::string folder = folder_.Path();
    child_ = fork();
    if (child_ == 0) {
        dup2(toChild[0], STDIN_FILENO);
        dup2(fromChild[1], STDOUT_FILENO);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        for (const int end : {toChild[0], toChild[1], fromChild[0], fromChild[1]}) {
            close(end);
        }
        if (chdir(folder.c_str()) == 0) {
            // A null ends the arguments early for a pipe.
            execlp("openssl", "openssl", "s_server", "-accept", "127.0.0.1:0", "-cert", pem.c_str(),
                   "-key", key.c_str(), kind == Kind::Files ? "-HTTP" : nullptr, nullptr);
        }
        _exit(127);
    }
    close(toChild[0]);
    close(fromChild[1]);
    input_ = toChild[1];
    output_ = fromChild[0];
    const std::string line = readUpTo(output_, "ACCEPT ");
    port_ = std::stoi(line.substr(line.rfind(':') + 1));
}

TlsServer::~TlsServer() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
    close(input_);
    close(output_);
}

void TlsServer::WaitForRequest() const {
    readUpTo(output_, "GET ");
}

void TlsServer::Say(std::string_view bytes) const {
    if (write(input_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the TLS server does not listen");
    }
}

std::string TlsServer::Url(std::string_view path) const {
    return "https://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

}  // namespace tvtest
