// Makes one web request and waits for its end.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

namespace tvtool {

struct WebResult {
    enum class End { Complete, Failed, TimeLimit };
    End end = End::Failed;
    long status = 0;  // It stays 0 if no answer came.
    std::size_t bodyBytes = 0;
    CFStreamError error{};  // It is set with End::Failed.
};
// Tells in words what went wrong. With a proxy between, an unknown name and a refused connection
// are the proxy's.
std::string DescribeError(const CFStreamError& error, bool isOfProxy);

// Waits for at most `seconds` and then drops the request. For 0 it waits until the request ends by
// itself. Calls `tick` about every second with the number of seconds that have passed.
WebResult FetchAndWait(CFStringRef url, CFStringRef userAgent, long seconds,
                       const std::function<void(long)>& tick);

}  // namespace tvtool
