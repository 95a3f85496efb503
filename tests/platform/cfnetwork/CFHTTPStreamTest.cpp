// HTTP messages and streams without a reader on top: reading by waiting, events on a run loop,
// properties, and the limits of the module below.
#include "cfnetwork/HttpTransfer.h"
#include "tests/platform/coreservices/FileTestSupport.h"
#include "tests/support/LoopbackServer.h"

#include <CFNetwork/CFNetwork.h>
#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <thread>
#include <tuple>

using namespace tvtest;
using tvplatform::Clock;
using tvplatform::HttpRequest;
using tvplatform::HttpTransfer;

namespace {

Owned<CFReadStreamRef> makeStream(const std::string& address, CFStringRef method = CFSTR("GET")) {
    return Own(CFReadStreamCreateForHTTPRequest(
        nullptr,
        Own(CFHTTPMessageCreateRequest(nullptr, method, WebUrl(address), kCFHTTPVersion1_1))));
}

// Reads to the end by waiting; what the last read gave is added in brackets.
std::string readAll(CFReadStreamRef stream) {
    std::string body;
    UInt8 bytes[7];
    CFIndex count = 0;
    while ((count = CFReadStreamRead(stream, bytes, sizeof bytes)) > 0) {
        body.append(reinterpret_cast<char*>(bytes), static_cast<size_t>(count));
    }
    return body + "[" + std::to_string(count) + "]";
}

// Returns 0 if there is no header yet.
CFIndex statusOf(CFReadStreamRef stream) {
    const auto header = Own(static_cast<CFHTTPMessageRef>(
        const_cast<void*>(CFReadStreamCopyProperty(stream, kCFStreamPropertyHTTPResponseHeader))));
    return CFHTTPMessageGetResponseStatusCode(header);
}

TEST(CFHTTPMessage, SendsOnlyHeadersThatMayBeSent) {
    const LoopbackServer server({{"/", AnswerOf("200 OK", "")}});
    const auto message = Own(
        CFHTTPMessageCreateRequest(nullptr, CFSTR("GET"), WebUrl(server.Url()), kCFHTTPVersion1_1));
    const std::pair<const char*, const char*> headers[] = {
        {"X-Good", "one"},    {"x-good", "a b\xc3\xa9"},
        {"X-Good", "a\r\nb"}, {"X-Good", "a\nb"},
        {"X-Good", "\t"},     {"X-Good", "a\x7f"},
        {"X-Good", "\x01"},   {"", "x"},
        {"A B", "x"},         {"A:", "x"},
        {"A\r\nB", "x"},      {"\xc3\xa9", "x"},
        {"X-Empty", " "},     {"X-Gone", "x"}};
    for (const auto& [name, value] : headers) {
        CFHTTPMessageSetHeaderFieldValue(message, Utf8Str(name), Utf8Str(value));
    }
    CFHTTPMessageSetHeaderFieldValue(message, CFSTR("X-GONE"), nullptr);
    const auto stream = Own(CFReadStreamCreateForHTTPRequest(nullptr, message));
    ASSERT_TRUE(CFReadStreamOpen(stream));
    EXPECT_EQ(readAll(stream), "[0]");
    EXPECT_EQ(server.Requests().at(0),
              "GET / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.Port()) +
                  "\r\nAccept: */*\r\nX-Empty:\r\nx-good: a b\xc3\xa9\r\n\r\n");
}

TEST(CFHTTPStream, IsReadByWaiting) {
    LoopbackServer server([](Connection& connection) {
        for (std::string request; !(request = connection.ReadRequest()).empty();) {
            const bool isMoved = PathOf(request) == "/moved";
            // The second field looks like the first line of an answer.
            connection.Answer(isMoved ? "302 Found\r\nLocation: /here\r\nHTTP/1.1: x" : "200 Fine",
                              isMoved ? "nowhere" : "a body");
        }
    });
    for (const auto& [follow, body, status] :
         {std::tuple(kCFBooleanTrue, "a body[0]", 200), {kCFBooleanFalse, "nowhere[0]", 302}}) {
        const auto stream = makeStream(server.Url("/moved"));
        EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusNotOpen);
        EXPECT_EQ(CFReadStreamRead(stream, nullptr, 1), -1);
        EXPECT_EQ(statusOf(stream), 0);
        const CFStringRef property = kCFStreamPropertyHTTPShouldAutoredirect;
        EXPECT_TRUE(CFReadStreamSetProperty(stream, property, follow));
        ASSERT_TRUE(CFReadStreamOpen(stream));
        EXPECT_FALSE(CFReadStreamOpen(stream));
        EXPECT_FALSE(CFReadStreamSetProperty(stream, property, kCFBooleanFalse));
        EXPECT_EQ(readAll(stream), body);
        EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusAtEnd);
        EXPECT_EQ(statusOf(stream), status);
        CFReadStreamClose(stream);
        EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusClosed);
        EXPECT_EQ(readAll(stream), "[-1]");
        EXPECT_FALSE(CFReadStreamOpen(stream));
    }
}

TEST(CFHTTPStream, IsMadeOnlyForWhatCanBeRequested) {
    for (const char* address :
         {"", "ftp://h/", "file:///x", "data:,x", "http:", "http://", "https:///x", "http://:80/",
          "http://u@:8/", "http://h:0/", "http://h:65536/", "http://h:8x/", "http://%5B::1%5D/"}) {
        EXPECT_EQ(makeStream(address), nullptr) << address;
    }
    EXPECT_EQ(makeStream("http://h/", CFSTR("POST")), nullptr);
    for (const char* address :
         {"HTTPS://h", "http://u:p@h:/?:x", "http://[::1]:65535", "http://[::1]"}) {
        EXPECT_NE(makeStream(address), nullptr) << address;
    }
}

TEST(CFHTTPStream, TakesNoTransferCodingButChunked) {
    // What a coding that is undone would leave is "x".
    const std::string zipped("\x1f\x8b\x08\0\0\0\0\0\x02\xff\xab\0\0\x83\x16\xdc\x8c\1\0\0\0", 21);
    for (const auto& [coding, bytes, body] :
         {std::tuple<const char*, std::string, const char*>("ChunKed ", "1\r\nx\r\n0\r\n\r\n",
                                                            "x[0]"),
          {"gzip", zipped, "[-1]"},
          {"gzip, chunked", "15\r\n" + zipped + "\r\n0\r\n\r\n", "[-1]"},
          {"identity", "x", "[-1]"}}) {
        const std::string header = "HTTP/1.1 200 OK\r\nTransfer-Encoding: " + std::string(coding);
        const LoopbackServer server({{"/", header + "\r\n\r\n" + bytes}});
        const auto stream = makeStream(server.Url());
        ASSERT_TRUE(CFReadStreamOpen(stream));
        EXPECT_EQ(readAll(stream), body) << coding;
    }
}

TEST(CFHTTPStream, AnnouncesBytesOnceAfterEachReadAndThenTheEnd) {
    const LoopbackServer server({{"/", AnswerOf("200 OK", "12345678")}});
    const auto stream = makeStream(server.Url());
    std::string events;
    CFStreamClientContext context = {0, &events, nullptr, nullptr, nullptr};
    const CFOptionFlags wanted = kCFStreamEventHasBytesAvailable | kCFStreamEventErrorOccurred |
                                 kCFStreamEventEndEncountered;
    const auto onEvent = [](CFReadStreamRef, CFStreamEventType type, void* info) {
        *static_cast<std::string*>(info) += type == kCFStreamEventHasBytesAvailable ? 'b'
                                            : type == kCFStreamEventEndEncountered  ? 'e'
                                                                                    : 'x';
    };
    ASSERT_TRUE(CFReadStreamSetClient(stream, wanted, onEvent, &context));
    CFReadStreamScheduleWithRunLoop(stream, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
    ASSERT_TRUE(CFReadStreamOpen(stream));
    const auto run = [](double seconds) {
        return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, true);
    };
    while (!events.ends_with('e') && !events.ends_with('x')) {
        EXPECT_EQ(run(60), kCFRunLoopRunHandledSource);
        EXPECT_EQ(run(0.01), kCFRunLoopRunTimedOut) << events;
        UInt8 bytes[3];
        CFReadStreamRead(stream, bytes, 3);
    }
    EXPECT_EQ(events, "bbbe");
    CFReadStreamUnscheduleFromRunLoop(stream, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
    EXPECT_EQ(run(60), kCFRunLoopRunFinished);
}

std::filesystem::path libraryFolder() {
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(&CFRetain), &info);
    return std::filesystem::canonical(info.dli_fname).parent_path();
}

// The test runs itself, with the library loaded by the path "./libtvplatform.so.1".
TEST(HttpModule, IsFoundAfterTheProcessHasChangedFolders) {
    if (getenv("TVTEST_RELATIVE") == nullptr) {
        const std::string program = std::filesystem::read_symlink("/proc/self/exe");
        const std::string command = "cd " + libraryFolder().string() +
                                    " && LD_LIBRARY_PATH=. TVTEST_RELATIVE=1 exec " + program +
                                    " --gtest_filter=HttpModule.IsFound* >/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return;
    }
    ASSERT_EQ(chdir("/"), 0);
    const auto stream = makeStream("http://127.0.0.1:1/");
    ASSERT_TRUE(CFReadStreamOpen(stream));
    EXPECT_EQ(readAll(stream), "[-1]");
    EXPECT_EQ(CFReadStreamGetError(stream).error, ECONNREFUSED);
}

// Opens a transfer of the module itself, whose limits a test can wait for.
std::shared_ptr<HttpTransfer> openTransfer(const HttpRequest& request) {
    void* module = dlopen((libraryFolder() / tvplatform::cHttpModule).c_str(), RTLD_NOW);
    const auto start = reinterpret_cast<tvplatform::HttpStartFunction>(
        dlsym(module, tvplatform::cHttpStartFunction));
    const auto open = reinterpret_cast<tvplatform::HttpOpenFunction>(
        dlsym(module, tvplatform::cHttpOpenFunction));
    std::shared_ptr<HttpTransfer> transfer;
    EXPECT_TRUE(start() && open(request, transfer));
    return transfer;
}

// Waits a little for what the transfer waits for, and lets it go on. Returns true if it asked for a
// descriptor.
bool advance(HttpTransfer& transfer) {
    tvplatform::PollSet set(Clock::time_point::max());
    transfer.Prepare(set);
    std::vector<pollfd> polled = set.Descriptors();
    poll(polled.data(), polled.size(), 5);
    transfer.Step(polled);
    return !polled.empty();
}

bool isOver(const HttpTransfer& transfer) {
    return transfer.State().failed || transfer.State().ended;
}

// The descriptors that a program would inherit if the process started one now.
std::set<std::string> inherited() {
    std::set<std::string> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const std::string name = entry.path().filename();
        if (fcntl(std::stoi(name), F_GETFD) == 0) {
            descriptors.insert(name);
        }
    }
    return descriptors;
}

// Transfers that begin at the same time see each other's descriptors. The lowest free numbers lie
// side by side in the first rounds, and far from each other in the others.
TEST(HttpModule, NoProgramInheritsTheDescriptorsOfATransfer) {
    HttpRequest request;
    request.url = "http://127.0.0.1:1/";
    openTransfer(request);
    const auto before = inherited();
    std::vector<int> filling;
    for (int round = 0; round < 40; ++round) {
        if (round == 20) {
            for (int i = 0; i < 30; ++i) {
                filling.push_back(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
            }
            close(filling.front());
        }
        std::shared_ptr<HttpTransfer> one, other;
        std::thread thread([&] { one = openTransfer(request); });
        other = openTransfer(request);
        thread.join();
        EXPECT_EQ(inherited(), before) << round;
    }
    std::for_each(filling.begin() + 1, filling.end(), close);
}

long countDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

// What a transfer leaves for the next one is no connection, and no forked child has it.
TEST(HttpModule, KeepsNeitherConnectionsNorTheParentsDescriptors) {
    HttpRequest request;
    request.url = "http://127.0.0.1:1/";
    openTransfer(request);
    CFRunLoopGetCurrent();  // It has a descriptor of its own.
    const long before = countDescriptors();
    std::set<long> after;
    const auto fetch = [](const char* path) {
        const LoopbackServer server([](Connection& connection) {
            for (std::string header; !(header = connection.ReadRequest()).empty();) {
                const bool isMoved = PathOf(header) == "/moved";
                connection.Answer(isMoved ? "302 Found\r\nLocation: /here" : "200 OK", "a body");
            }
        });
        const auto stream = makeStream(server.Url(path));
        CFReadStreamSetProperty(stream, kCFStreamPropertyHTTPShouldAutoredirect, kCFBooleanTrue);
        ASSERT_TRUE(CFReadStreamOpen(stream));
        EXPECT_EQ(readAll(stream), "a body[0]");
    };
    for (const char* path : {"/", "/moved", "/"}) {
        fetch(path);
        after.insert(countDescriptors());
    }
    EXPECT_EQ(after.size(), 1U);
    EXPECT_GT(*after.begin(), before);
    const pid_t child = fork();
    if (child == 0) {
        _exit(countDescriptors() == before ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(HttpModule, GivesUpOnAPeerThatFallsSilent) {
    const std::tuple<const char*, const char*> cases[] = {
        {"http", ""},
        {"http", "HTTP/1.1 200 OK\r\n"},
        {"http", "HTTP/1.1 200 OK\r\n\r\nx"},
        {"https", ""},  // The TLS handshake does not come.
    };
    for (const auto& [scheme, answer] : cases) {
        const LoopbackServer server(LoopbackServer::Answers{{"/", answer}});
        HttpRequest request;
        request.url = server.Url("/", scheme);
        (std::string(scheme) == "https" ? request.connectLimit : request.idleLimit) =
            std::chrono::milliseconds(100);
        const auto transfer = openTransfer(request);
        while (!isOver(*transfer)) {
            advance(*transfer);
        }
        EXPECT_EQ(transfer->State().error.domain, kCFStreamErrorDomainPOSIX);
        EXPECT_EQ(transfer->State().error.error, ETIMEDOUT);
    }
}

TEST(HttpModule, KeepsNoMoreUnreadThanAskedAndIsNotIdleMeanwhile) {
    const LoopbackServer server({{"/", AnswerOf("200 OK", std::string(1000000, 'x'))}});
    HttpRequest request;
    request.url = server.Url();
    request.maxUnread = 50000;
    request.idleLimit = std::chrono::milliseconds(300);
    const auto before = inherited();
    const auto transfer = openTransfer(request);
    size_t total = 0;
    std::vector<unsigned char> bytes(1000000);
    while (!isOver(*transfer)) {
        // Until it waits for its reader: it then asks for no descriptor.
        while (!isOver(*transfer) && (advance(*transfer) || !transfer->State().hasBytes)) {
        }
        EXPECT_EQ(inherited(), before);
        // The first pause lasts longer than the idle limit.
        const auto limit = Clock::now() + request.idleLimit * 2;
        while (total == 0 && Clock::now() < limit) {
            advance(*transfer);
        }
        const size_t count = transfer->Read(bytes.data(), bytes.size());
        EXPECT_LE(count, request.maxUnread + 2 * 16384);
        total += count;
    }
    EXPECT_EQ(transfer->State().error.error, 0);
    EXPECT_EQ(total, 1000000U);
}

}  // namespace
