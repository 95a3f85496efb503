// Calls one of the five exported functions on ordinary input, for torture: the shim makes
// allocations and calls of the system fail while the function runs. Checks what the function
// promises for its result, and prints nothing. A failure that the function reports ends the program
// with status 1, and a broken promise with abort.
#include "TVframework/TVframework.h"
#include "tests/torture/Shim.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <new>
#include <string>

#include <dlfcn.h>

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
    if (argc == 3 && std::string(argv[1]) == "load") {
        return load(std::atoi(argv[2]));
    }
    const auto function = cFunctions.find(argc > 1 ? argv[1] : "");
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
