#include "cfnetwork/HttpLoader.h"

#include <dlfcn.h>

#include <atomic>
#include <climits>
#include <cstdlib>

namespace tvplatform {
namespace {

// Returns the folder that this library was loaded from, with a "/" at its end, or "" if it is
// unknown.
std::string ownFolder() {
    Dl_info info{};
    char real[PATH_MAX];
    // Any object of this library serves.
    static const char marker = 0;
    if (dladdr(&marker, &info) == 0 || info.dli_fname == nullptr ||
        realpath(info.dli_fname, real) == nullptr) {
        return {};
    }
    const std::string path(real);
    return path.substr(0, path.rfind('/') + 1);
}

HttpOpenFunction openModule() {
    const std::string folder = ownFolder();
    if (folder.empty()) {
        return nullptr;
    }
    void* module = dlopen((folder + cHttpModule).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        return nullptr;
    }
    const auto start = reinterpret_cast<HttpStartFunction>(dlsym(module, cHttpStartFunction));
    const auto open = reinterpret_cast<HttpOpenFunction>(dlsym(module, cHttpOpenFunction));
    return start != nullptr && open != nullptr && start() ? open : nullptr;
}

}  // namespace

// It takes no lock, because a thread may be inside dlopen when it comes here. Opening twice is
// harmless.
HttpOpenFunction LoadHttp() {
    static constinit std::atomic<HttpOpenFunction> known{nullptr};
    HttpOpenFunction open = known;
    if (open == nullptr) {
        open = openModule();
        known = open;
    }
    return open;
}

}  // namespace tvplatform
