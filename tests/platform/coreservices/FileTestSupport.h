// Short ways to make and to read URLs, paths and preferences in tests, and child processes.
#pragma once

#include "tests/support/PlatformValues.h"

#include <CoreServices/CoreServices.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tvtest {

inline Owned<CFStringRef> Utf8Str(const std::string& bytes) {
    return Own(CFStringCreateWithCString(nullptr, bytes.c_str(), kCFStringEncodingUTF8));
}

inline std::string Utf8(CFStringRef string) {
    std::string bytes(static_cast<size_t>(CFStringGetLength(string)) * 3 + 1, '\0');
    const auto size = static_cast<CFIndex>(bytes.size());
    const bool fits = CFStringGetCString(string, bytes.data(), size, kCFStringEncodingUTF8);
    return fits ? bytes.c_str() : "<null>";
}

inline Owned<CFURLRef> FileUrl(const std::string& path, bool isDirectory = false) {
    return Own(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        isDirectory));
}

inline Owned<CFURLRef> WebUrl(const std::string& text, CFURLRef base = nullptr) {
    return Own(CFURLCreateWithString(nullptr, Utf8Str(text), base));
}

// The file-system form, "<none>" when there is none.
inline std::string PathOf(CFURLRef url, bool resolve = true) {
    UInt8 path[8192];
    return CFURLGetFileSystemRepresentation(url, resolve, path, sizeof path)
               ? reinterpret_cast<const char*>(path)
               : "<none>";
}

inline FSRef RefOf(const std::string& path) {
    FSRef ref = {};
    CFURLGetFSRef(FileUrl(path), &ref);
    return ref;
}

inline bool HasMode(const std::string& path, unsigned mode) {
    return std::filesystem::status(path).permissions() == std::filesystem::perms(mode);
}

// Starts `body` in a child process, which ends with its result. A child that hangs is killed, and
// none writes files without bound.
template <class Body>
pid_t StartChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit = {64U << 20U, 64U << 20U};
        setrlimit(RLIMIT_FSIZE, &limit);
        alarm(120);
        _exit(body());
    }
    return child;
}

// Returns the result of a child, or -1 if it crashed.
inline int EndOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Returns true if `body` returns true in a child, and does not crash.
template <class Body>
bool HoldsInChild(Body body) {
    return EndOf(StartChild([&] { return body() ? 1 : 0; })) == 1;
}

// Returns true if each of some children can do what the parent's other threads are busy with.
inline bool ChildrenCanGoOn(int children, const std::vector<std::function<void()>>& works,
                            const std::function<bool()>& holds) {
    std::atomic<bool> isDone = false;
    std::vector<std::jthread> busy;
    for (const auto& work : works) {
        busy.emplace_back([&] {
            while (!isDone) {
                work();
            }
        });
    }
    bool allHold = true;
    for (int i = 0; i < children && allHold; ++i) {
        allHold = HoldsInChild(holds);
    }
    isDone = true;
    return allHold;
}

// Does this as a user who owns nothing. Returns true unless root runs the test.
template <class Body>
bool AsNobody(Body body) {
    return geteuid() != 0 || HoldsInChild([&] { return setuid(65534) == 0 && body(); });
}

}  // namespace tvtest
