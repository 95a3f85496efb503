// Calls the five exported functions on ordinary input, for torture:
//   tvtest_calls FUNCTION              one of cFunctions, while the shim makes things fail
//   tvtest_calls load COUNT            loads, sends and unloads, again and again
//   tvtest_calls exit DELAY THREADS    ends after so many microseconds while threads send
//   tvtest_calls forks COUNT           children send whose parent was sending
// Checks what the functions promise for their results, and prints nothing. A failure that a
// function reports ends the program with status 1, and a broken promise with abort.
#include "TVframework/TVframework.h"
#include "tests/torture/Shim.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

template <typename Function>
Function* shimFunction(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

// Calls the function under the shim. Returns false if it threw for lack of memory.
bool guarded(const std::function<void()>& function) {
    auto* const arm = shimFunction<void()>("tvshim_arm");
    auto* const disarm = shimFunction<void()>("tvshim_disarm");
    bool threw = false;
    if (arm != nullptr) {
        arm();
    }
    try {
        function();
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    if (disarm != nullptr) {
        disarm();
    }
    return !threw;
}

CFMutableDictionaryRef makeDetails() {
    CFMutableDictionaryRef details = CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    const int yes = 1;
    CFNumberRef agreed = CFNumberCreate(nullptr, kCFNumberIntType, &yes);
    CFDictionarySetValue(details, CFSTR("FNKey"), CFSTR("Zoe"));
    CFDictionarySetValue(details, CFSTR("EAKey"), CFSTR("zoe@example.org"));
    CFDictionarySetValue(details, CFSTR("SDKey"), agreed);
    CFRelease(agreed);
    return details;
}
bool isFilled(CFDictionaryRef details) {
    const void* name = CFDictionaryGetValue(details, CFSTR("FNKey"));
    return CFDictionaryGetCount(details) == 5 && CFEqual(name, CFSTR("Ada")) != 0;
}

int apply() {
    CFMutableDictionaryRef details = makeDetails();
    tvReadRegInfoFromPrefs(details);  // sets the variables
    CFRelease(details);
    const CFStringRef before = CFSTR("<AppName> and <MajVersion>");
    CFMutableStringRef text = CFStringCreateMutableCopy(nullptr, 0, before);
    int count = 0;
    const bool done = guarded([&] { count = tvApplyVariables(text, nullptr); });
    require(count == 2 || CFEqual(text, before) != 0, "no change is counted as none");
    CFRelease(text);
    return done && count == 2 ? 0 : 1;
}
int deleteItem() {
    const CFStringRef key = CFSTR("K");
    require(guarded([&] { tvDeletePrefsItem(key); }), "nothing is thrown");
    return 0;
}
int readConfig() {
    CFMutableDictionaryRef details = makeDetails();
    int result = 0;
    const CFStringRef path = CFSTR("a.nwc");
    require(guarded([&] { result = tvReadRegInfoFromNWC(path, details); }), "nothing is thrown");
    require(result == 1 || result == -1, "1 or -1");
    require(result == -1 || isFilled(details), "1 stands for all the details");
    CFRelease(details);
    return result == 1 ? 0 : 1;
}
int readPrefs() {
    CFMutableDictionaryRef details = makeDetails();
    int result = 0;
    require(guarded([&] { result = tvReadRegInfoFromPrefs(details); }), "nothing is thrown");
    require(result == 1 || result == -1, "1 or -1");
    require(result == -1 || isFilled(details), "1 stands for all the details");
    CFRelease(details);
    return result == 1 ? 0 : 1;
}
int write(unsigned send) {
    CFMutableDictionaryRef details = makeDetails();
    int result = 0;
    const CFStringRef path = CFSTR("a.nwc");
    const bool done = guarded([&] { result = tvWriteRegInfo(path, details, send); });
    require(!done || result == 0 || result == -1 || result == -3, "0, -1 or -3");
    CFRelease(details);
    return done && result == 0 ? 0 : 1;
}

// Loads the framework once more, sends, and unloads it, many times.
int load(int count) {
    for (int i = 0; i < count; ++i) {
        void* const framework = dlopen("libTVframework.so.3", RTLD_NOW);
        require(framework != nullptr, "it can be loaded again");
        require(write(1) == 0, "it writes");
        require(dlclose(framework) == 0, "it can be unloaded");
    }
    return 0;
}

// The framework serves one thread at a time.
std::mutex gOneAtATime;

// Leaves main while some threads send, without waiting for them.
int exitWhileSending(int microseconds, int threads) {
    for (int i = 0; i < threads; ++i) {
        std::thread([] {
            const std::lock_guard guard(gOneAtATime);
            write(1);
        }).detach();
    }
    usleep(static_cast<useconds_t>(microseconds));
    return 0;
}

int sendInChildren(int count) {
    std::thread([] {
        for (;;) {
            const std::lock_guard guard(gOneAtATime);
            write(1);
        }
    }).detach();
    for (int i = 0; i < count; ++i) {
        const std::lock_guard guard(gOneAtATime);
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);
            std::exit(write(1));
        }
        int status = -1;
        waitpid(child, &status, 0);
        require(status == 0, "a child sends, and ends");
    }
    gOneAtATime.lock();  // for good, so that the end cuts no file
    return 0;
}

const std::map<std::string, std::function<int()>> cFunctions = {
    {"apply", apply},
    {"delete", deleteItem},
    {"read-config", readConfig},
    {"read-prefs", readPrefs},
    {"write", [] { return write(0); }},
    {"send", [] { return write(1); }},
};

}  // namespace

int main(int argc, char** argv) {
    const std::string name = argc > 1 ? argv[1] : "";
    const int number = argc > 2 ? std::atoi(argv[2]) : 0;
    if (name == "load") {
        return load(number);
    }
    if (name == "exit" && argc == 4) {
        return exitWhileSending(number, std::atoi(argv[3]));
    }
    if (name == "forks") {
        return sendInChildren(number);
    }
    const auto function = cFunctions.find(name);
    if (function == cFunctions.end()) {
        return 2;
    }
    // A call that fails again and again must at some time leave no more blocks than the one before:
    // the first ones may keep what later ones use.
    auto* const live = shimFunction<long()>("tvshim_live");
    const int result = function->second();
    bool keeps = live != nullptr && result != 0 && function->first != "send";
    for (int calls = 0; keeps; ++calls) {
        require(calls < 10, "no memory is lost");
        const long before = live();
        function->second();
        keeps = live() != before;
    }
    if (result != 0) {
        std::fprintf(stderr, "the function reports a failure\n");
    }
    return result;
}
