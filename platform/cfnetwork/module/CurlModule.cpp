// The module's entry points, and its end. It stops every transfer before the destructors of
// libraries run, and before an exit handler of the TLS library, if the program itself has
// initialised that.
#include "cfnetwork/SignalGuard.h"
#include "cfnetwork/module/CurlGate.h"
#include "cfnetwork/module/CurlTransfer.h"
#include "cfnetwork/module/MultiHandle.h"
#include "cfnetwork/module/TransferList.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>

namespace tvplatform {
namespace {

void atExit() {
    const SignalGuard signals;
    CurlGate::Only().Close();
    CurlGate::Only().ShutForGood();
    TransferList::Only().CancelAll();
    DropSpareMultiHandle();
    CurlGate::Only().Open();
}

// Returns a function of the TLS library, or null if libcurl was built with another one. It is
// looked up from libcurl, because the program may have another version of its own.
template <class Function>
Function* findInTls(const char* name) {
    Dl_info info{};
    void* curl = nullptr;
    if (dladdr(reinterpret_cast<const void*>(&curl_global_init), &info) != 0) {
        curl = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    }
    return curl != nullptr ? reinterpret_cast<Function*>(dlsym(curl, name)) : nullptr;
}

// The exit handler is registered last. Exit runs the handlers backwards, so it runs before those
// that the libraries have registered.
bool startLibrary() {
    const SignalGuard signals;
    // OPENSSL_INIT_NO_ATEXIT of OpenSSL's headers, which a build need not have. Without an exit
    // handler, the TLS library can be used on one thread while another one ends the process.
    constexpr uint64_t cNoExitHandler = 0x00080000;
    if (auto* start = findInTls<int(uint64_t, const void*)>("OPENSSL_init_crypto")) {
        start(cNoExitHandler, nullptr);
    }
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        return false;
    }
    // What the TLS library keeps for a thread would be given back at the thread's end, which may
    // fall into the program's own exit handler of that library.
    CurlGate::Only().SetLeave(findInTls<void()>("OPENSSL_thread_stop"));
    return std::atexit(atExit) == 0;
}

}  // namespace

}  // namespace tvplatform

extern "C" {

// Declared by type only, in HttpTransfer.h: they are looked up by name.
bool tvplatform_http_start_3();
bool tvplatform_http_open_3(const tvplatform::HttpRequest& request,
                            std::shared_ptr<tvplatform::HttpTransfer>& transfer);
void tvplatform_http_fork_3(tvplatform::HttpFork stage);

__attribute__((visibility("default"))) bool tvplatform_http_start_3() {
    static const bool started = tvplatform::startLibrary();
    return started;
}

__attribute__((visibility("default"))) bool
tvplatform_http_open_3(const tvplatform::HttpRequest& request,
                       std::shared_ptr<tvplatform::HttpTransfer>& transfer) {
    auto made = std::make_shared<tvplatform::CurlTransfer>(request);
    if (!made->Start()) {
        return false;
    }
    transfer = std::move(made);
    return true;
}

// Nobody is inside libcurl while a process forks, so the child's copy of it is in order. The
// parent's transfers are not the child's to end: it shares their connections.
__attribute__((visibility("default"))) void tvplatform_http_fork_3(tvplatform::HttpFork stage) {
    using namespace tvplatform;
    switch (stage) {
    case HttpFork::Before:
        CurlGate::Only().Close();
        break;
    case HttpFork::InParent:
        CurlGate::Only().Open();
        break;
    case HttpFork::InChild:
        TransferList::Only().Forget();
        DropSpareMultiHandle();
        CurlGate::Only().Renew();
        break;
    }
}

}  // extern "C"
