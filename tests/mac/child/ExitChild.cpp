// A process that ends, in one of several ways, while a read is under way:
//   exit_child HOW WHEN URL [LIBRARY]
// Status 42 means that it got to its end.
#include "tests/mac/child/ReaderLibrary.h"

#include "mac/MacThreadedWebReader.h"

#include <dlfcn.h>
#include <netdb.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

namespace {

constexpr int cDone = 42;
constexpr unsigned cHangs = 100;

std::atomic<bool> gDataCame{false};
std::atomic<bool> gLookingUp{false};
std::atomic<bool> gCreatingFails{false};
std::atomic<bool> gCreatingFailed{false};
bool gLeaksCanBeTold = true;
std::string gUrl;

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

bool onEvent(CFReadStreamRef stream, unsigned long event, void* endsProcess) {
    if (event == kCFStreamEventHasBytesAvailable) {
        UInt8 bytes[4096];
        CFReadStreamRead(stream, bytes, sizeof bytes);
        gDataCame = true;
        if (endsProcess != nullptr) {
            exit(cDone);
        }
        return true;
    }
    return false;
}

// Ends the process from a worker for which another reader's worker is waiting.
bool exitOnceAborted(CFReadStreamRef, unsigned long, void* self) {
    constexpr int cStopping = 8;
    gDataCame = true;
    while (static_cast<MacThreadedWebReader*>(self)->GetProgress() != cStopping) {
        std::this_thread::yield();
    }
    exit(cDone);
}

bool abortOther(CFReadStreamRef, unsigned long, void* other) {
    static_cast<MacThreadedWebReader*>(other)->AbortRead();
    return true;
}

void start(MacThreadedWebReader* reader, MacThreadedWebReader::Callback callback, void* context) {
    CFStringRef url = CFStringCreateWithCString(nullptr, gUrl.c_str(), kCFStringEncodingUTF8);
    reader->StartRead(url, nullptr, callback, context);
    CFRelease(url);
}

MacThreadedWebReader* start(bool endsProcess = false) {
    MacThreadedWebReader* reader = MacThreadedWebReader::Create();
    start(reader, onEvent, endsProcess ? &gUrl : nullptr);
    return reader;
}

// "now", "input" (a byte on standard input), "data" (the callback has read some), "lookup" (a host
// name is being looked up), or a number of rounds to wait.
void await(const std::string& when) {
    char byte = 0;
    if (when == "input") {
        while (read(STDIN_FILENO, &byte, 1) < 0) {
        }
    } else if (when == "data") {
        awaitFlag(gDataCame);
    } else if (when == "lookup") {
        awaitFlag(gLookingUp);
    } else if (when != "now") {
        for (int rounds = std::stoi(when); rounds > 0; --rounds) {
            std::this_thread::yield();
        }
    }
}

bool isLoaded(const char* library) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(library) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// The child ends at once, or after a read of its own.
int withChild(bool reads) {
    const pid_t child = fork();
    if (child == 0) {
        // It lacks the threads on whose stacks its parent's objects are found.
        gLeaksCanBeTold = false;
        limitLife();
        if (reads) {
            gDataCame = false;
            start();
            await("data");
        }
        exit(cDone);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

// Starts a read from a library that is unloaded at once.
int fromLibrary(const char* path, const std::string& when) {
    // The leak check crashes over ending threads with data of a library that was opened.
    gLeaksCanBeTold = false;
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return 1;
    }
    const auto send = reinterpret_cast<void (*)(const char*)>(dlsym(library, "tvtest_start_read"));
    send(gUrl.c_str());
    await(when);
    dlclose(library);
    return cDone;
}

// A caller that cannot have a thread waits for ever, but keeps neither an abort nor the exit
// waiting.
int withoutThread() {
    MacThreadedWebReader* reader = MacThreadedWebReader::Create();
    std::thread([reader] {
        gCreatingFails = true;
        CFStringRef url = CFStringCreateWithCString(nullptr, gUrl.c_str(), kCFStringEncodingUTF8);
        reader->StartRead(url, nullptr, onEvent, nullptr);
        _exit(1);
    }).detach();
    awaitFlag(gCreatingFailed);
    reader->AbortRead();
    return reader->GetProgress() == 1 ? cDone : 1;
}

int run(const std::string& how, const std::string& when, const char* library) {
    if (how == "idle") {
        MacThreadedWebReader::Create();
        return isLoaded("libcurl") || isLoaded("libtvplatform-http") ? 1 : cDone;
    }
    if (how == "dlclose" || how == "constructor") {
        return fromLibrary(library, when);
    }
    if (how == "no thread") {
        return withoutThread();
    }
    if (how == "exit in an awaited callback") {
        MacThreadedWebReader* first = MacThreadedWebReader::Create();
        start(first, exitOnceAborted, first);
        await("data");
        start(MacThreadedWebReader::Create(), abortOther, first);
        pause();
    }
    MacThreadedWebReader* reader = start(how == "exit in the callback");
    if (how == "many") {
        for (int i = 0; i < 7; ++i) {
            start();
        }
    }
    await(when);
    if (how == "_exit") {
        _exit(cDone);
    } else if (how == "quick_exit") {
        quick_exit(cDone);
    } else if (how == "end of the main thread") {
        // The last thread to end makes the process's status 0.
        pthread_exit(nullptr);
    } else if (how == "exit in the callback") {
        pause();
    } else if (how == "fork") {
        return withChild(false);
    } else if (how == "read in a fork") {
        return withChild(true);
    } else if (how == "released") {
        reader->Release();
    } else if (how == "abort") {
        reader->AbortRead();
        reader->Release();
    } else if (how == "exit of a thread") {
        std::thread([] { exit(cDone); }).join();
    }
    return isLoaded("libcurl") ? cDone : 2;
}

}  // namespace

extern "C" {

// Stands before the system's: a name server that never answers.
__attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                       const addrinfo* hints, addrinfo** result) {
    if (name != nullptr && std::strcmp(name, "stuck.invalid") == 0) {
        gLookingUp = true;
        for (;;) {
            pause();
        }
    }
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return real(name, service, hints, result);
}

// Asked by the leak check.
__attribute__((visibility("default"))) int __lsan_is_turned_off();
__attribute__((visibility("default"))) int __lsan_is_turned_off() {
    return gLeaksCanBeTold ? 0 : 1;
}

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument);

// The linker puts it between the reader and the system.
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* argument) {
    if (gCreatingFails) {
        gCreatingFailed = true;
        return EAGAIN;
    }
    return __real_pthread_create(thread, attributes, body, argument);
}

}  // extern "C"

int main(int argc, char** argv) {
    if (argc < 4) {
        return 2;
    }
    limitLife();
    gUrl = argv[3];
    return run(argv[1], argv[2], argc > 4 ? argv[4] : nullptr);
}
