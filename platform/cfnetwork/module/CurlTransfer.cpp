#include "cfnetwork/module/CurlTransfer.h"

#include "cfnetwork/AsciiCase.h"
#include "cfnetwork/SignalGuard.h"
#include "cfnetwork/module/CurlErrors.h"
#include "cfnetwork/module/CurlGate.h"
#include "cfnetwork/module/MultiHandle.h"
#include "cfnetwork/module/TransferList.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <utility>

namespace tvplatform {
namespace {

bool startsWith(std::string_view line, std::string_view prefix) {
    return IsSameIgnoringCase(line.substr(0, prefix.size()), prefix);
}

std::string_view trimmed(std::string_view text) {
    const size_t first = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

// Returns the value of a header line if it has that name, which ends in a colon.
std::optional<std::string_view> valueIn(std::string_view line, std::string_view name) {
    return startsWith(line, name) ? std::optional(trimmed(line.substr(name.size()))) : std::nullopt;
}

// Returns `failed` in place of an exception, because none may pass through the library.
template <class Result, class Body>
Result guarded(Result failed, Body body) {
    try {
        return body();
    } catch (const std::exception&) {
        return failed;
    }
}

long statusOf(CURL* easy) {
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

// The server's certificate is looked at only if a proxy's is good, or if there is none.
long verificationOf(CURL* easy) {
    long ofProxy = 0, ofServer = 0;
    curl_easy_getinfo(easy, CURLINFO_PROXY_SSL_VERIFYRESULT, &ofProxy);
    curl_easy_getinfo(easy, CURLINFO_SSL_VERIFYRESULT, &ofServer);
    return ofProxy != 0 ? ofProxy : ofServer;
}

}  // namespace

CurlTransfer::~CurlTransfer() {
    const SignalGuard signals;
    const CurlGate::Visit visit;
    if (visit) {
        CancelInside();
    }
    TransferList::Only().Remove(*this);
}

bool CurlTransfer::Start() {
    const SignalGuard signals;
    const CurlGate::Visit visit;
    if (!visit) {
        return false;
    }
    TransferList::Only().Add(*this);
    const std::lock_guard guard(curlLock_);
    easy_ = curl_easy_init();
    multi_ = TakeMultiHandle();
    if (easy_ == nullptr || multi_ == nullptr || !SetOptions() ||
        curl_multi_add_handle(multi_, easy_) != CURLM_OK) {
        FreeHandles();
        return false;
    }
    lastByte_ = Clock::now();
    return true;
}

bool CurlTransfer::SetOptions() {
    // Appending to the whole list would walk through it for each header.
    for (curl_slist** end = &headerList_; const std::string& header : request_.headers) {
        *end = curl_slist_append(nullptr, header.c_str());
        if (*end == nullptr) {
            return false;
        }
        end = &(*end)->next;
    }
    bool good = true;
    const auto set = [&](CURLoption option, auto value) {
        good = good && curl_easy_setopt(easy_, option, value) == CURLE_OK;
    };
    set(CURLOPT_URL, request_.url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    set(CURLOPT_HTTP09_ALLOWED, 0L);
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_FOLLOWLOCATION, request_.followRedirects ? 1L : 0L);
    set(CURLOPT_MAXREDIRS, static_cast<long>(request_.maxRedirects));
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request_.connectLimit.count()));
    set(CURLOPT_NOSIGNAL, 1L);
    // An abort does not wait for a thread that asks a name server.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_NETRC, long{CURL_NETRC_IGNORED});
    if (getauxval(AT_SECURE) != 0) {
        set(CURLOPT_PROXY, "");  // no proxy of the environment
    }
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_HTTPHEADER, headerList_);
    set(CURLOPT_OPENSOCKETFUNCTION, &OpenSocket);
    set(CURLOPT_OPENSOCKETDATA, static_cast<void*>(this));
    set(CURLOPT_CLOSESOCKETFUNCTION, &CloseSocket);
    set(CURLOPT_CLOSESOCKETDATA, static_cast<void*>(this));
    set(CURLOPT_WRITEFUNCTION, &OnBody);
    set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    set(CURLOPT_HEADERFUNCTION, &OnHeader);
    set(CURLOPT_HEADERDATA, static_cast<void*>(this));
    KeepNothing();
    SetTrust();
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, &OnSocket);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, &OnTimer);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    return good;
}

// The multi handle serves other transfers too. Each one looks its host up, and verifies
// certificates against what the store holds then.
void CurlTransfer::KeepNothing() {
    curl_easy_setopt(easy_, CURLOPT_DNS_CACHE_TIMEOUT, 0L);
    curl_easy_setopt(easy_, CURLOPT_SSL_SESSIONID_CACHE, 0L);
    // A TLS library that keeps no store refuses this.
    curl_easy_setopt(easy_, CURLOPT_CA_CACHE_TIMEOUT, 0L);
}

// The library itself knows only the system's store. The variables are a convention of tools.
void CurlTransfer::SetTrust() {
    if (const char* file = secure_getenv("SSL_CERT_FILE"); file != nullptr && *file != '\0') {
        curl_easy_setopt(easy_, CURLOPT_CAINFO, file);
        curl_easy_setopt(easy_, CURLOPT_PROXY_CAINFO, file);
    }
    if (const char* folder = secure_getenv("SSL_CERT_DIR"); folder != nullptr && *folder != '\0') {
        curl_easy_setopt(easy_, CURLOPT_CAPATH, folder);
        curl_easy_setopt(easy_, CURLOPT_PROXY_CAPATH, folder);
    }
}

// A program that the process starts meanwhile must not inherit the connection.
curl_socket_t CurlTransfer::OpenSocket(void* self, curlsocktype, curl_sockaddr* address) {
    const int opened = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    static_cast<CurlTransfer*>(self)->openSockets_ += opened >= 0 ? 1 : 0;
    return opened;
}

int CurlTransfer::CloseSocket(void* self, curl_socket_t socket) {
    --static_cast<CurlTransfer*>(self)->openSockets_;
    return close(socket);
}

int CurlTransfer::OnSocket(CURL*, curl_socket_t socket, int what, void* self, void*) {
    return guarded(-1, [=] {
        static_cast<CurlTransfer*>(self)->SetSocket(socket, what);
        return 0;
    });
}

void CurlTransfer::SetSocket(curl_socket_t socket, int what) {
    const auto known =
        std::erase_if(sockets_, [socket](const pollfd& other) { return other.fd == socket; });
    if (known == 0 && fcntl(socket, F_GETFD) == 0) {
        KeepPairFromPrograms(socket);
    }
    if (what != CURL_POLL_REMOVE) {
        const int events =
            ((what & CURL_POLL_IN) != 0 ? POLLIN : 0) | ((what & CURL_POLL_OUT) != 0 ? POLLOUT : 0);
        sockets_.push_back({socket, static_cast<short>(events), 0});
    }
}

int CurlTransfer::OnTimer(CURLM*, long milliseconds, void* self) {
    static_cast<CurlTransfer*>(self)->timer_ =
        milliseconds < 0 ? Clock::time_point::max()
                         : Clock::now() + std::chrono::milliseconds(milliseconds);
    return 0;
}

size_t CurlTransfer::OnBody(char* bytes, size_t size, size_t count, void* self) {
    return guarded(size_t{0}, [=] {
        return static_cast<CurlTransfer*>(self)->TakeBody({bytes, size * count});
    });
}

size_t CurlTransfer::TakeBody(std::string_view bytes) {
    lastByte_ = Clock::now();
    const std::lock_guard guard(dataLock_);
    if (unread_.size() - unreadStart_ >= request_.maxUnread) {
        paused_ = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    // Bytes that were read are dropped before the text would have to grow.
    if (unreadStart_ > 0 && unread_.size() + bytes.size() > unread_.capacity()) {
        unread_.erase(0, unreadStart_);
        unreadStart_ = 0;
    }
    unread_.append(bytes);
    state_.hasBytes = !unread_.empty();
    return bytes.size();
}

size_t CurlTransfer::OnHeader(char* bytes, size_t size, size_t count, void* self) {
    return guarded(size_t{0}, [=] {
        const bool good = static_cast<CurlTransfer*>(self)->TakeHeaderLine({bytes, size * count});
        return good ? size * count : 0;
    });
}

bool CurlTransfer::TakeHeaderLine(std::string_view line) {
    lastByte_ = Clock::now();
    headerBytes_ += line.size();
    if (headerBytes_ > request_.maxHeader) {
        return false;
    }
    // A header field may look like a status line. Only the first line of an answer is one.
    const bool isFirst = std::exchange(nextIsFirst_, trimmed(line).empty());
    if (isFirst && startsWith(line, "http/") && !TakeStatusLine()) {
        return false;
    }
    {
        const std::lock_guard guard(dataLock_);
        if (state_.opened) {
            return true;  // A trailer.
        }
    }
    if (const auto place = valueIn(line, "location:")) {
        hasLocation_ |= !place->empty();
    }
    if (nextIsFirst_) {
        CompleteHeader();
    }
    // The library would inflate other codings, to any size.
    const auto coding = valueIn(line, "transfer-encoding:");
    return !coding || IsSameIgnoringCase(*coding, "chunked");
}

// Begins a new answer. From the first one that came over https on, only https is followed. Returns
// false if that rule cannot be set.
bool CurlTransfer::TakeStatusLine() {
    hasLocation_ = false;
    const char* scheme = nullptr;
    curl_easy_getinfo(easy_, CURLINFO_SCHEME, &scheme);
    return scheme == nullptr || !IsSameIgnoringCase(scheme, "https") ||
           curl_easy_setopt(easy_, CURLOPT_REDIR_PROTOCOLS_STR, "https") == CURLE_OK;
}

// Interim answers, and those whose redirect is followed, are not the answer.
void CurlTransfer::CompleteHeader() {
    const long status = statusOf(easy_);
    const bool interim = status < 200;
    const bool followed = request_.followRedirects && status >= 300 && status < 400 && hasLocation_;
    if (!interim && !followed) {
        curl_easy_setopt(easy_, CURLOPT_FORBID_REUSE, 1L);
        const std::lock_guard guard(dataLock_);
        state_.opened = true;
        status_ = static_cast<int>(status);
    }
}

Clock::time_point CurlTransfer::IdleDeadline() const {
    return paused_ ? Clock::time_point::max() : lastByte_ + request_.idleLimit;
}

void CurlTransfer::Prepare(PollSet& set) {
    const std::lock_guard guard(curlLock_);
    if (easy_ == nullptr) {
        return;
    }
    for (const pollfd& socket : sockets_) {
        set.Add(socket.fd, socket.events);
    }
    const bool atOnce = resume_ || State().ended;
    set.WaitUntil(atOnce ? Clock::time_point::min() : std::min(timer_, IdleDeadline()));
}

void CurlTransfer::Step(std::span<const pollfd> polled) {
    const SignalGuard signals;
    const CurlGate::Visit visit;
    const std::lock_guard guard(curlLock_);
    if (!visit || easy_ == nullptr) {
        return;
    }
    if (State().ended) {
        FreeHandles();
        return;
    }
    const CURLMcode result = Advance(polled);
    TakeResult();
    if (IsRunning() && result != CURLM_OK) {
        Finish(CURLE_OUT_OF_MEMORY);  // The library's own work hardly fails for another reason.
    }
    if (IsRunning() && Clock::now() >= IdleDeadline()) {
        Finish(CURLE_OPERATION_TIMEDOUT);
    }
}

// Returns the last failure. After one, the library may have forgotten to wait for a socket.
CURLMcode CurlTransfer::Advance(std::span<const pollfd> polled) {
    CURLMcode result = CURLM_OK;
    if (resume_.exchange(false) && paused_) {
        paused_ = false;
        lastByte_ = Clock::now();
        const bool good = curl_easy_pause(easy_, CURLPAUSE_CONT) == CURLE_OK;
        result = good ? result : CURLM_OUT_OF_MEMORY;
    }
    const auto act = [&](curl_socket_t socket, int events) {
        int running = 0;
        const CURLMcode code = curl_multi_socket_action(multi_, socket, events, &running);
        result = code != CURLM_OK ? code : result;
    };
    for (const pollfd& socket : polled) {
        if (socket.revents != 0) {
            const int events = ((socket.revents & POLLIN) != 0 ? CURL_CSELECT_IN : 0) |
                               ((socket.revents & POLLOUT) != 0 ? CURL_CSELECT_OUT : 0) |
                               ((socket.revents & (POLLERR | POLLHUP)) != 0 ? CURL_CSELECT_ERR : 0);
            act(socket.fd, events);
        }
    }
    if (Clock::now() >= timer_) {
        timer_ = Clock::time_point::max();
        act(CURL_SOCKET_TIMEOUT, 0);
    }
    return result;
}

void CurlTransfer::TakeResult() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) {
            Finish(message->data.result);
            return;
        }
    }
}

// After a good end the next step gives the handles back, so that nobody who waits for the result
// waits for that too.
void CurlTransfer::Finish(CURLcode result) {
    long systemError = 0;
    curl_easy_getinfo(easy_, CURLINFO_OS_ERRNO, &systemError);
    const long verification = verificationOf(easy_);
    long proxyStatus = 0;
    curl_easy_getinfo(easy_, CURLINFO_HTTP_CONNECTCODE, &proxyStatus);
    {
        const std::lock_guard guard(dataLock_);
        // The library takes a connection that is closed inside the header for an answer.
        if (result == CURLE_OK && !state_.opened) {
            result = CURLE_GOT_NOTHING;
        }
        // The library takes a proxy that refuses the connection to the server for a failing read.
        if (result != CURLE_OK && proxyStatus >= 300) {
            result = proxyStatus == 407 ? CURLE_LOGIN_DENIED : CURLE_PROXY;
        }
        state_.ended = result == CURLE_OK;
        state_.failed = result != CURLE_OK;
        if (state_.failed) {
            state_.error = StreamErrorOf(result, systemError, verification);
        }
    }
    if (result != CURLE_OK) {
        FreeHandles();
    }
}

DriverState CurlTransfer::State() const {
    const std::lock_guard guard(dataLock_);
    return state_;
}

size_t CurlTransfer::Read(unsigned char* buffer, size_t size) {
    const std::lock_guard guard(dataLock_);
    const size_t count = std::min(size, unread_.size() - unreadStart_);
    if (count == 0) {
        return 0;
    }
    std::memcpy(buffer, unread_.data() + unreadStart_, count);
    unreadStart_ += count;
    const size_t left = unread_.size() - unreadStart_;
    if (left == 0) {
        unread_.clear();
        unreadStart_ = 0;
        state_.hasBytes = false;
    }
    if (left <= request_.maxUnread / 2) {
        resume_ = true;
    }
    return count;
}

void CurlTransfer::Cancel() {
    const SignalGuard signals;
    if (const CurlGate::Visit visit; visit) {
        CancelInside();
    }
}

void CurlTransfer::CancelInside() {
    const std::lock_guard guard(curlLock_);
    if (easy_ != nullptr) {
        FreeHandles();
    }
}

void CurlTransfer::FreeHandles() {
    if (multi_ != nullptr && easy_ != nullptr) {
        curl_multi_remove_handle(multi_, easy_);
    }
    curl_easy_cleanup(easy_);
    if (openSockets_ == 0 && State().ended) {
        KeepSpareMultiHandle(multi_);
    } else {
        curl_multi_cleanup(multi_);
    }
    curl_slist_free_all(headerList_);
    easy_ = nullptr;
    multi_ = nullptr;
    headerList_ = nullptr;
    sockets_.clear();
}

int CurlTransfer::Status() const {
    const std::lock_guard guard(dataLock_);
    return status_;
}

}  // namespace tvplatform
