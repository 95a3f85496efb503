#include "cfnetwork/HttpLoader.h"

#include "cfnetwork/SignalGuard.h"
#include "posix/CancellationGuard.h"

#include <dlfcn.h>
#include <sys/auxv.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <new>
#include <shared_mutex>

namespace tvplatform {
namespace {

// An exit or a fork waits this long for loads under way. It may wait in vain: the loading thread
// may need the loader's lock, and the waiting thread may hold that.
constexpr std::chrono::seconds cLongestWait{5};

// Shared by the threads that load.
constinit std::shared_timed_mutex sLoading;
constinit std::atomic<HttpOpenFunction> sOpen{nullptr};
constinit std::atomic<HttpForkFunction> sFork{nullptr};
constinit std::atomic<bool> sHasExitHandler{false};
// No load begins any more.
constinit std::atomic<bool> sIsOver{false};
// These belong to the thread that forks.
constinit bool sIsStill = false;
constinit HttpForkFunction sClosed = nullptr;

// A load would crash beside the exit handlers and destructors of libraries.
void atExit() {
    sIsOver = true;
    if (sLoading.try_lock_for(cLongestWait)) {
        sLoading.unlock();
    }
}

// The module has no fork handlers of its own: a fork that waits here for a load under way would not
// call those that the load registers.
void beforeFork() {
    const tvposix::CancellationGuard guard;
    sIsStill = sLoading.try_lock_for(cLongestWait);
    sClosed = sFork;
    if (sClosed != nullptr) {
        sClosed(HttpFork::Before);
    }
}

void afterForkInParent() {
    if (sClosed != nullptr) {
        sClosed(HttpFork::InParent);
    }
    if (sIsStill) {
        sLoading.unlock();
    }
}

// A load that the fork has cut leaves the child's loader half-way.
void afterForkInChild() {
    if (const HttpForkFunction fork = sFork) {
        fork(HttpFork::InChild);
    }
    sIsOver = sIsOver || !sIsStill;
    new (&sLoading) std::shared_timed_mutex;
}

[[maybe_unused]] const int sForkHandlers =
    pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);

// Returns the path by which the loader knows this library.
const char* ownPath() {
    // Any object of this library serves.
    static const char marker = 0;
    Dl_info info{};
    return dladdr(&marker, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

// The canonical form of a relative path. It is found at load, since the path leads elsewhere once
// the program has changed folders.
constinit char sOwnFile[PATH_MAX] = "";
[[maybe_unused]] const bool sIsRelative =
    *ownPath() != '/' && realpath(ownPath(), sOwnFile) != nullptr;

HttpOpenFunction openModule() {
    const char* path = *sOwnFile == '/' ? sOwnFile : ownPath();
    char real[PATH_MAX];
    if (*path != '/' || realpath(path, real) == nullptr) {
        return nullptr;
    }
    std::string file(real);
    file.replace(file.rfind('/') + 1, std::string::npos, cHttpModule);
    void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        return nullptr;
    }
    const auto start = reinterpret_cast<HttpStartFunction>(dlsym(module, cHttpStartFunction));
    const auto open = reinterpret_cast<HttpOpenFunction>(dlsym(module, cHttpOpenFunction));
    const auto fork = reinterpret_cast<HttpForkFunction>(dlsym(module, cHttpForkFunction));
    if (start == nullptr || open == nullptr || fork == nullptr || !start()) {
        return nullptr;
    }
    sFork = fork;
    return open;
}

}  // namespace

// It is registered late, so that it runs before the destructors of libraries.
void WatchExit() {
    if (!sHasExitHandler.exchange(true) && std::atexit(atExit) != 0) {
        sIsOver = true;
    }
}

// Threads do not wait for each other here, because one may be inside dlopen when it comes here.
// Opening twice is harmless.
HttpOpenFunction LoadHttp() {
    if (sOpen == nullptr) {
        const SignalGuard signals;
        const std::shared_lock loading(sLoading);
        // The library behind the module writes the keys of connections to the file that this
        // variable names, with the rights of a set-user-id program.
        const bool isUnsafe = getauxval(AT_SECURE) != 0 && std::getenv("SSLKEYLOGFILE") != nullptr;
        if (!sIsOver && !isUnsafe) {
            sOpen = openModule();
        }
    }
    return sOpen;
}

}  // namespace tvplatform
