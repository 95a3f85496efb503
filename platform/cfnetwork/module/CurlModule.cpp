// The module's entry points, and its end. libcurl, and the TLS library below it, must not run any
// more once the latter's own exit handler has: the module stops every transfer before that.
#include "cfnetwork/module/CurlGate.h"
#include "cfnetwork/module/CurlTransfer.h"
#include "cfnetwork/module/SignalGuard.h"
#include "cfnetwork/module/TransferList.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cstdlib>

namespace tvplatform {
namespace {

// Nobody is inside libcurl while a process forks, so the child's copy of it is in order. The
// parent's transfers are not the child's to end: it shares their connections.
void beforeFork() {
    CurlGate::Only().Close();
}

void afterForkInParent() {
    CurlGate::Only().Open();
}

void afterForkInChild() {
    TransferList::Only().Forget();
    CurlGate::Only().Renew();
}

void atExit() {
    const SignalGuard signals;
    CurlGate::Only().Close();
    CurlGate::Only().ShutForGood();
    TransferList::Only().CancelAll();
    CurlGate::Only().Open();
}

// The TLS library's function that gives back what it keeps for the calling thread. Left to the
// thread's end, that would meet its exit handler. Looked up, since libcurl's builds differ in what
// lies below them; from libcurl, since the program may have another version of its own.
void (*findThreadStop())() {
    Dl_info info{};
    void* curl = nullptr;
    if (dladdr(reinterpret_cast<const void*>(&curl_global_init), &info) != 0) {
        curl = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    }
    return curl != nullptr ? reinterpret_cast<void (*)()>(dlsym(curl, "OPENSSL_thread_stop"))
                           : nullptr;
}

// The order counts: exit runs the handlers backwards, so the one that is registered after the
// library has initialised the TLS library runs before the TLS library's.
bool startLibrary() {
    const SignalGuard signals;
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        return false;
    }
    CurlGate::Only().SetLeave(findThreadStop());
    return std::atexit(atExit) == 0 &&
           pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) == 0;
}

}  // namespace

}  // namespace tvplatform

extern "C" {

// Declared by type only, in HttpTransfer.h: they are looked up by name.
bool tvplatform_http_start_2();
bool tvplatform_http_open_2(const tvplatform::HttpRequest& request,
                            std::shared_ptr<tvplatform::HttpTransfer>& transfer);

__attribute__((visibility("default"))) bool tvplatform_http_start_2() {
    static const bool started = tvplatform::startLibrary();
    return started;
}

__attribute__((visibility("default"))) bool
tvplatform_http_open_2(const tvplatform::HttpRequest& request,
                       std::shared_ptr<tvplatform::HttpTransfer>& transfer) {
    auto made = std::make_shared<tvplatform::CurlTransfer>(request);
    if (!made->Start()) {
        return false;
    }
    transfer = std::move(made);
    return true;
}

}  // extern "C"
