// Sending details to a server that never answers, and fetching from one that answers at once. Both
// are on the loopback address.
#include "bench/Bench.h"
#include "bench/Files.h"
#include "bench/Programs.h"
#include "mac/MacThreadedWebReader.h"
#include "text/CFRef.h"
#include "vars/CVarList.h"

#include <curl/curl.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>

namespace {

using bench::Require;

// A socket on the loopback address that listens.
class Listener {
public:
    Listener() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        constexpr int cBacklog = 4096;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* any = reinterpret_cast<sockaddr*>(&address);
        Require(bind(socket_, any, length) == 0 && listen(socket_, cBacklog) == 0 &&
                    getsockname(socket_, any, &length) == 0,
                "no listening socket");
        port_ = ntohs(address.sin_port);
    }
    ~Listener() { close(socket_); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::string Url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }
    // Waits for a connection. Returns -1 if none comes within `limit`; zero is no limit.
    int Accept(timeval limit = {}) const {
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        return accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    }
    // Closes the connections that have come.
    void DropConnections() const {
        for (int peer = 0; (peer = Accept({.tv_sec = 0, .tv_usec = 1})) >= 0;) {
            close(peer);
        }
    }

private:
    const int socket_;
    int port_ = 0;
};

// A server in a process of its own. It answers GET /N with N header lines and five bytes, and then
// closes.
class Server {
public:
    Server() : child_(fork()) {
        if (child_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            signal(SIGPIPE, SIG_IGN);
            Serve();
        }
    }
    ~Server() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string Url(std::size_t lines) const { return listener_.Url("/" + std::to_string(lines)); }

private:
    [[noreturn]] void Serve() const {
        constexpr std::size_t cPathStart = sizeof "GET /" - 1;
        std::size_t linesBefore = 0;
        std::string answer = AnswerOf(0);
        for (int peer = 0;; close(peer)) {
            peer = listener_.Accept();
            std::string request;
            char buffer[4096];
            ssize_t count = 0;
            while (request.find("\r\n\r\n") == std::string::npos &&
                   (count = read(peer, buffer, sizeof buffer)) > 0) {
                request.append(buffer, static_cast<std::size_t>(count));
            }
            const std::size_t lines = std::strtoul(request.c_str() + cPathStart, nullptr, 10);
            if (lines != linesBefore) {
                answer = AnswerOf(lines);
                linesBefore = lines;
            }
            for (std::size_t sent = 0; sent < answer.size();) {
                count = write(peer, answer.data() + sent, answer.size() - sent);
                if (count <= 0) {
                    break;
                }
                sent += static_cast<std::size_t>(count);
            }
        }
    }
    // A header may have 256 KB, so a line has five bytes: a name of two letters without a value.
    static std::string AnswerOf(std::size_t lines) {
        constexpr std::string_view cLetters = "abcdefghijklmnopqrstuvwxyz0123456789-_.!";
        std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nConnection: close\r\n";
        for (std::size_t i = 0; i < lines; ++i) {
            std::size_t number = i;
            for (int letter = 0; letter < 2; ++letter) {
                answer += cLetters[number % cLetters.size()];
                number /= cLetters.size();
            }
            answer += ":\r\n";
        }
        return answer + "\r\nhello";
    }

    Listener listener_;
    const pid_t child_;
};

const Server& server() {
    static const Server running;
    return running;
}

// Fetches do not follow each other at once. Otherwise what the end of one leaves to the system
// would be measured with the next one.
void waitBetweenFetches() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// One read, from its start to its end event.
class Fetch {
public:
    explicit Fetch(bool wantsHeader) : wantsHeader_(wantsHeader) {}

    double Run(CFStringRef url) {
        MacThreadedWebReader* reader = MacThreadedWebReader::Create();
        waitBetweenFetches();
        const double seconds = bench::SecondsOf([&] {
            Require(reader->StartRead(url, CFSTR("Bench"), OnEvent, this) == 0, "not started");
            std::unique_lock guard(lock_);
            changed_.wait(guard, [&] { return event_ != 0; });
        });
        reader->AbortRead();
        reader->Release();
        Require(event_ == kCFStreamEventEndEncountered && bytes_ == 5, "not fetched");
        return seconds;
    }

private:
    static bool OnEvent(CFReadStreamRef stream, unsigned long event, void* fetch) {
        auto* self = static_cast<Fetch*>(fetch);
        if (event == kCFStreamEventHasBytesAvailable) {
            UInt8 buffer[4096];
            self->bytes_ += CFReadStreamRead(stream, buffer, sizeof buffer);
            return true;
        }
        if (self->wantsHeader_) {
            const Tova::CFRef<CFTypeRef> header(
                CFReadStreamCopyProperty(stream, kCFStreamPropertyHTTPResponseHeader));
        }
        {
            const std::lock_guard guard(self->lock_);
            self->event_ = event;
        }
        self->changed_.notify_one();
        return true;
    }

    const bool wantsHeader_;
    CFIndex bytes_ = 0;
    std::mutex lock_;
    std::condition_variable changed_;
    unsigned long event_ = 0;
};

void addFetch(const std::string& work, std::size_t size, std::size_t lines) {
    bench::AddTimed(work, size, "ours", [lines] {
        const std::string address = server().Url(lines);
        auto url = std::make_shared<Tova::CFRef<CFStringRef>>(
            CFStringCreateWithCString(nullptr, address.c_str(), kCFStringEncodingUTF8));
        Fetch(false).Run(url->Get());  // loads the HTTP part
        return [lines, url] { return Fetch(lines > 0).Run(url->Get()); };
    });
}

std::size_t countBytes(char*, std::size_t size, std::size_t count, void* sum) {
    *static_cast<std::size_t*>(sum) += size * count;
    return size * count;
}

void fetchByCurl(const std::string& url) {
    std::size_t bytes = 0;
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "Bench");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, countBytes);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &bytes);
    const bool good = curl_easy_perform(easy) == CURLE_OK;
    curl_easy_cleanup(easy);
    Require(good && bytes == 5, "libcurl: not fetched");
}

void addFetchPeers(const std::string& work) {
    bench::AddTimed(work, 1, "libcurl", [] {
        const std::string url = server().Url(0);
        fetchByCurl(url);
        return [url] {
            waitBetweenFetches();
            return bench::SecondsOf([&] { std::thread([&] { fetchByCurl(url); }).join(); });
        };
    });
    bench::AddTimed(work, 1, "thread", [] {
        return [] { return bench::SecondsOf([] { std::thread([] {}).join(); }); };
    });
}

// The home, the registry and the configuration file of a process that saves and sends.
struct Surroundings {
    Surroundings() {
        bench::FileOf("machine/Nimbus Works/Nimbus Works Registry",
                      [&] { return "[CX7]\nProdRegURL=" + listener.Url("/v/prod_reg") + "\n"; });
        std::filesystem::create_directories(bench::Scratch().Path("home"));
        setenv("HOME", bench::Scratch().Path("home").c_str(), 1);
        setenv("TV_MACHINE_DATA_DIR", bench::Scratch().Path("machine").c_str(), 1);
        Tova::CVarList list;
        list.SetValue("AppName", "Calyx", false);
        Require(list.WriteToFile(bench::UnixPath(config)) >= 0, config);
    }

    Listener listener;
    const std::string config = bench::Scratch().Path("Calyx.nwc");
};

void addSaving(const std::string& contender, bool send) {
    constexpr int cCalls = 21;
    constexpr int cRounds = 10;
    static const Surroundings surroundings;
    for (const bool first : {true, false}) {
        bench::AddTimed(
            first ? "sending, first call" : "sending, later calls", 1, contender,
            [=] {
                return [=] {
                    const Listener& stalled = surroundings.listener;
                    const std::string output =
                        bench::LineOf({bench::ProgramPath("bench_save"), surroundings.config,
                                       send ? "1" : "0", std::to_string(first ? 2 : cCalls)},
                                      [&] {
                                          constexpr timeval cLong{.tv_sec = 10, .tv_usec = 0};
                                          const int peer = send ? stalled.Accept(cLong) : -1;
                                          Require((peer >= 0) == send, "nothing was sent");
                                          close(peer);
                                      });
                    stalled.DropConnections();
                    char* rest = nullptr;
                    const auto firstTime = std::strtoll(output.c_str(), &rest, 10);
                    const auto laterTime = std::strtoll(rest, nullptr, 10);
                    return static_cast<double>(first ? firstTime : laterTime) * 1e-9;
                };
            },
            cRounds);
    }
}

}  // namespace

int main(int argc, char** argv) {
    return bench::Main(argc, argv, [] {
        server();  // before there are threads
        addSaving("ours", true);
        addSaving("not sending", false);
        addFetch("GET on loopback", 1, 0);
        addFetchPeers("GET on loopback");
        for (const std::size_t lines : {500UL, 5'000UL, 50'000UL}) {
            addFetch("growth: header lines", lines, lines);
        }
    });
}
