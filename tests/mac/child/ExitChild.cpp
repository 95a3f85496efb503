// A process that ends, in one of several ways, while a read is under way:
//   exit_child HOW WHEN URL
// Status 42 means that it got to its end.
#include "mac/MacThreadedWebReader.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/TempHome.h"

#include <dlfcn.h>
#include <netdb.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

namespace {

constexpr int cDone = 42;
constexpr unsigned cHangs = 100;

// The callback has read some, or a host name is being looked up.
std::atomic<bool> gIsUnderWay{false};
bool gLeaksCanBeTold = true;
const char* gUrl = nullptr;

// The alarm ends a process that hangs, or the end of its parent does. It writes no large files.
void limitLife() {
    alarm(cHangs);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit largest{1 << 20, 1 << 20};
    setrlimit(RLIMIT_FSIZE, &largest);
}

void awaitFlag(const std::atomic<bool>& flag) {
    while (!flag) {
        std::this_thread::yield();
    }
}

bool readSome(CFReadStreamRef stream, unsigned long event, void*) {
    UInt8 bytes[4096];
    if (CFReadStreamRead(stream, bytes, sizeof bytes) > 0) {
        gIsUnderWay = true;
    }
    return event == kCFStreamEventHasBytesAvailable;
}

MacThreadedWebReader* start(MacThreadedWebReader* reader = MacThreadedWebReader::Create(),
                            MacThreadedWebReader::Callback callback = readSome,
                            void* context = nullptr) {
    CFStringRef url = CFStringCreateWithCString(nullptr, gUrl, kCFStringEncodingUTF8);
    reader->TryStartRead(url, nullptr, callback, context);
    CFRelease(url);
    return reader;
}

// The callback of the first reader aborts the second one, and that one's ends the process
// meanwhile.
[[noreturn]] void endWhileAborted(MacThreadedWebReader* first, MacThreadedWebReader* second) {
    constexpr int cStopping = 8;
    start(
        second,
        [](CFReadStreamRef, unsigned long, void* self) -> bool {
            gIsUnderWay = true;
            while (static_cast<MacThreadedWebReader*>(self)->GetProgress() != cStopping) {
                std::this_thread::yield();
            }
            exit(cDone);
        },
        second);
    start(
        first,
        [](CFReadStreamRef, unsigned long, void* other) {
            awaitFlag(gIsUnderWay);
            static_cast<MacThreadedWebReader*>(other)->AbortRead();
            return true;
        },
        second);
    for (;;) {
        pause();
    }
}

// "under way", or a number of rounds to wait.
void await(const std::string& when) {
    if (when == "under way") {
        awaitFlag(gIsUnderWay);
    } else {
        for (int rounds = std::stoi(when); rounds > 0; --rounds) {
            std::this_thread::yield();
        }
    }
}

bool hasLoaded(const char* library) {
    return tvtest::ReadFile("/proc/self/maps").find(library) != std::string::npos;
}

// Returns the status of a child that does this.
template <class Body>
int statusOfChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        // It lacks the threads on whose stacks its parent's objects are found.
        gLeaksCanBeTold = false;
        limitLife();
        body();
        exit(cDone);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

// Many children in turn make a reader while another thread makes and releases some.
int withReadersInChildren() {
    std::thread([] {
        for (;;) {
            MacThreadedWebReader::Create()->Release();
        }
    }).detach();
    int status = cDone;
    for (int children = 40; children > 0 && status == cDone; --children) {
        status = statusOfChild([] { MacThreadedWebReader::Create()->Release(); });
    }
    return status;
}

int run(std::string_view how, const std::string& when) {
    if (how == "idle") {
        MacThreadedWebReader::Create();
        return hasLoaded("libcurl") || hasLoaded("libtvplatform-http") ? 1 : cDone;
    }
    if (how == "readers in forks") {
        return withReadersInChildren();
    }
    if (how == "aborted by a callback") {
        auto [lower, higher] =
            std::minmax({MacThreadedWebReader::Create(), MacThreadedWebReader::Create()});
        when == "upwards" ? endWhileAborted(lower, higher) : endWhileAborted(higher, lower);
    }
    MacThreadedWebReader* reader = start();
    for (int more = how == "many" ? 7 : 0; more > 0; --more) {
        start();
    }
    await(when);
    if (how == "exit of a thread") {
        std::thread([] { exit(cDone); }).join();
    } else if (how == "fork") {
        return statusOfChild([] {});
    } else if (how == "read in a fork") {
        return statusOfChild([] {
            gIsUnderWay = false;
            start();
            awaitFlag(gIsUnderWay);
        });
    } else if (how == "abort") {
        reader->AbortRead();
    }
    if (how == "abort" || how == "released") {
        reader->Release();
    }
    // A process that ends at once may end before the library is loaded.
    const bool hasSent = when != "under way" || hasLoaded("libcurl");
    if (how == "no memory") {
        tvtest::FailAllocation::FailAll();
    }
    return hasSent ? cDone : 2;
}

}  // namespace

extern "C" {

// Stands before the system's: a name server that never answers.
__attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                       const addrinfo* hints, addrinfo** result) {
    if (name != nullptr && std::string_view(name) == "stuck.invalid") {
        gIsUnderWay = true;
        for (;;) {
            pause();
        }
    }
    static const auto real =
        reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(name, service, hints, result);
}

// Asked by the leak check.
__attribute__((visibility("default"))) int __lsan_is_turned_off();
__attribute__((visibility("default"))) int __lsan_is_turned_off() {
    return gLeaksCanBeTold ? 0 : 1;
}

}  // extern "C"

int main(int, char** argv) {
    limitLife();
    gUrl = argv[3];
    return run(argv[1], argv[2]);
}
