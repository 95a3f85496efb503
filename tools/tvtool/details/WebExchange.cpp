#include "tvtool/details/WebExchange.h"

#include "mac/MacThreadedWebReader.h"
#include "mac/MacThreadedWebReaderManager.h"
#include "text/CFRef.h"

#include <CFNetwork/CFNetwork.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>

namespace tvtool {

namespace {

using Clock = std::chrono::steady_clock;

// Collects what the worker of a reader reports.
class Exchange {
public:
    static bool OnEvent(CFReadStreamRef stream, unsigned long event, void* exchange) {
        return static_cast<Exchange*>(exchange)->Take(stream, event);
    }

    // Returns false if the request has not ended by then.
    bool WaitUntil(Clock::time_point time) {
        std::unique_lock guard(lock_);
        return ended_.wait_until(guard, time, [this] { return hasEnded_; });
    }
    bool HasEnded() const {
        const std::lock_guard guard(lock_);
        return hasEnded_;
    }
    WebResult Result() const {
        const std::lock_guard guard(lock_);
        return result_;
    }

private:
    bool Take(CFReadStreamRef stream, unsigned long event) {
        std::array<UInt8, 16384> dropped;
        const CFIndex count = event == kCFStreamEventHasBytesAvailable
                                  ? CFReadStreamRead(stream, dropped.data(), dropped.size())
                                  : 0;
        const Tova::CFRef<CFTypeRef> header(
            CFReadStreamCopyProperty(stream, kCFStreamPropertyHTTPResponseHeader));
        const std::lock_guard guard(lock_);
        if (header) {
            auto* message = static_cast<CFHTTPMessageRef>(const_cast<void*>(header.Get()));
            result_.status = CFHTTPMessageGetResponseStatusCode(message);
        }
        result_.bodyBytes += static_cast<std::size_t>(std::max<CFIndex>(count, 0));
        if (event == kCFStreamEventHasBytesAvailable) {
            return true;
        }
        result_.error = CFReadStreamGetError(stream);
        result_.end = event == kCFStreamEventEndEncountered ? WebResult::End::Complete
                                                            : WebResult::End::Failed;
        hasEnded_ = true;
        ended_.notify_all();
        return false;
    }

    mutable std::mutex lock_;
    std::condition_variable ended_;
    bool hasEnded_ = false;
    WebResult result_;
};

struct EndReader {
    void operator()(MacThreadedWebReader* reader) const {
        reader->AbortRead();
        reader->Release();
    }
};

std::string describeHttpError(SInt32 error) {
    switch (error) {
    case kCFStreamErrorHTTPRedirectionLoop:
        return "there were too many redirects";
    case kCFStreamErrorHTTPBadURL:
        return "the address, or one that it redirects to, cannot be requested";
    case kCFErrorHTTPBadProxyCredentials:
        return "the proxy wants a user name and a password, or others";
    case kCFErrorHTTPSProxyConnectionFailure:
        return "the proxy makes no connection to the server";
    default:
        return "the answer is no HTTP, or redirects to what may not be followed";
    }
}

std::string describeTlsError(SInt32 error) {
    switch (error) {
    case errSSLXCertChainInvalid:
        return "the certificate is not trusted; SSL_CERT_FILE can name one to trust";
    case errSSLCertExpired:
        return "the certificate has expired";
    case errSSLCertNotYetValid:
        return "the certificate is not valid yet, by the clock of this machine";
    case errSSLHostNameMismatch:
        return "the certificate is another host's";
    case errSSLBadConfiguration:
        return "the certificates to trust cannot be read; look at SSL_CERT_FILE";
    default:
        return "no TLS connection came about: this port speaks no TLS, or none that fits";
    }
}

}  // namespace

std::string DescribeError(const CFStreamError& error, bool isOfProxy) {
    switch (error.domain) {
    case kCFStreamErrorDomainNetDB:
        return isOfProxy ? "no proxy of this name was found" : "no host of this name was found";
    case kCFStreamErrorDomainSSL:
        return describeTlsError(error.error);
    case kCFStreamErrorDomainHTTP:
        return describeHttpError(error.error);
    default:
        break;
    }
    switch (error.error) {
    case ECONNREFUSED:
        return isOfProxy ? "the proxy refused the connection: nothing listens there"
                         : "the connection was refused: nothing listens there";
    case ECONNRESET:
        return std::string(isOfProxy ? "the proxy" : "the server") +
               " closed the connection before the answer was complete";
    case ETIMEDOUT:
        return "it timed out";
    case EAGAIN:
        return "the request could not be started: this process can have no more threads";
    case ENOSYS:
        return "the request could not be started: libtvplatform-http.so.1 cannot be loaded";
    default:
        return std::strerror(error.error);
    }
}

WebResult FetchAndWait(CFStringRef url, CFStringRef userAgent, long seconds,
                       const std::function<void(long)>& tick) {
    Exchange exchange;
    {
        // The reader goes before the exchange does. Its end waits for a callback that is running.
        const std::unique_ptr<MacThreadedWebReader, EndReader> reader(
            MacThreadedWebReader::Create());
        const int started = reader->TryStartRead(url, userAgent, &Exchange::OnEvent, &exchange);
        if (started < 0) {
            return {.error = {kCFStreamErrorDomainHTTP, kCFStreamErrorHTTPBadURL}};
        }
        if (started > 0) {
            return {.error = {kCFStreamErrorDomainPOSIX, started}};
        }
        const Clock::time_point start = Clock::now();
        for (long passed = 0; seconds == 0 || passed < seconds; ++passed) {
            tick(passed);
            const bool hasThread = MacThreadedWebReaderManager::sSingleton.CountThreads() > 0;
            const auto limit = start + std::chrono::seconds(hasThread ? passed + 1 : 0);
            if (exchange.WaitUntil(limit)) {
                return exchange.Result();
            }
            if (!hasThread) {
                // Only lack of memory ends the thread without an event.
                return {.error = {kCFStreamErrorDomainPOSIX, ENOMEM}};
            }
        }
    }
    WebResult result = exchange.Result();
    if (!exchange.HasEnded()) {
        result.end = WebResult::End::TimeLimit;
    }
    return result;
}

}  // namespace tvtool
