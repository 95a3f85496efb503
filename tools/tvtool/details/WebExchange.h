// One web request whose end is waited for.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

namespace tvtool {

struct WebResult {
    enum class End { Complete, Failed, NotStarted, TimeLimit };
    End end = End::NotStarted;
    long status = 0;  // 0: no answer came
    std::size_t bodyBytes = 0;
    CFStreamError error{};  // of End::Failed
};
// What went wrong, in words.
std::string DescribeError(const CFStreamError& error);

// Waits for at most `seconds` (0: until the request ends by itself), then drops the request. Calls
// `tick` about every second with the number of those that have passed.
WebResult FetchAndWait(CFStringRef url, CFStringRef userAgent, long seconds,
                       const std::function<void(long)>& tick);

}  // namespace tvtool
