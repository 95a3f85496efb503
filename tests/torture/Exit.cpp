// Ends processes at a random moment around their first requests, many times:
//   exit_torture CONFIG-FILE [RUNS [LONGEST-DELAY-MS [THREADS [stall|answer]]]]
// $TV_MACHINE_DATA_DIR is the folder of the registry, which the program writes. Prints what went
// wrong and the slowest end.
#include "tests/support/LoopbackServer.h"

#include <TVframework/TVframework.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>

namespace {

using Clock = std::chrono::steady_clock;

// The threads send one after another, since the framework serves one at a time. The main thread
// does not wait for them.
int endAfter(const char* config, int microseconds, int threads) {
    static std::mutex oneAtATime;
    for (int i = 0; i < threads; ++i) {
        std::thread([config] {
            const std::lock_guard guard(oneAtATime);
            const CFStringRef path =
                CFStringCreateWithCString(nullptr, config, kCFStringEncodingUTF8);
            const int one = 1;
            const CFMutableDictionaryRef details = CFDictionaryCreateMutable(
                nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
            CFDictionarySetValue(details, CFSTR("SDKey"),
                                 CFNumberCreate(nullptr, kCFNumberIntType, &one));
            tvWriteRegInfo(path, details, 1);
        }).detach();
    }
    usleep(static_cast<useconds_t>(microseconds));
    return 0;
}

// Returns the wait status of a child that ends after `microseconds`.
int endOfChild(const char* config, int microseconds, const std::string& threads) {
    std::string delay = std::to_string(microseconds);
    const char* arguments[] = {"/proc/self/exe", "child",         config,
                               delay.c_str(),    threads.c_str(), nullptr};
    pid_t child = 0;
    int status = -1;
    if (posix_spawn(&child, arguments[0], nullptr, nullptr, const_cast<char**>(arguments),
                    environ) == 0) {
        waitpid(child, &status, 0);
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::string_view(argv[1]) == "child") {
        return endAfter(argv[2], atoi(argv[3]), atoi(argv[4]));
    }
    const int runs = argc > 2 ? atoi(argv[2]) : 2000;
    const int longest = 1000 * (argc > 3 ? atoi(argv[3]) : 25);
    const std::string threads = argc > 4 ? argv[4] : "1";
    const bool stalls = argc < 6 || std::string_view(argv[5]) == "stall";
    const tvtest::LoopbackServer server([stalls](tvtest::Connection& connection) {
        if (!connection.ReadRequest().empty() && !stalls) {
            connection.Answer("200 OK\r\nConnection: close", "thanks");
        } else {
            connection.Hold();
        }
    });
    const auto folder = std::filesystem::path(getenv("TV_MACHINE_DATA_DIR")) / "Nimbus Works";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "Nimbus Works Registry")
        << "[CX7]\nProdRegURL=" << server.Url("/v/prod_reg") << "\n";

    std::mt19937 random(std::random_device{}());
    int failures = 0;
    double slowest = 0;
    for (int run = 0; run < runs; ++run) {
        const int delay = std::uniform_int_distribution<int>(0, longest)(random);
        const auto start = Clock::now();
        const int status = endOfChild(argv[1], delay, threads);
        const std::chrono::duration<double> taken = Clock::now() - start;
        slowest = std::max(slowest, taken.count() - delay / 1e6);
        if (status != 0) {
            ++failures;
            std::cout << "wait status " << status << " after " << delay << " us\n";
        }
    }
    std::cout << runs << " runs, " << failures << " failures, " << server.Accepted()
              << " connections, slowest end " << slowest << " s\n";
    return failures > 0 ? 1 : 0;
}
