// Shows a registration as it arrived, and why a request was refused.
#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace tvtool {

struct Registration {
    std::time_t time = 0;  // seconds since 1970, UTC
    // Bytes as they were on the wire.
    std::string path;
    std::string query;
    std::optional<std::string> userAgent;
};

// A request that is no registration, or a connection that brought no request.
struct Refusal {
    std::time_t time = 0;
    std::string request;  // the method and the address as it arrived, as far as they are known
    std::string reason;
};

// Returns a block of lines for people, with the local time. It holds no control characters.
std::string DescribeRegistration(const Registration& registration);
// Returns one line of JSON: "time" (UTC), "path", "query", "userAgent" (null if there is none) and
// "fields", which are decoded and in their order. A field that occurs several times has an array of
// its values. Bytes that are not UTF-8 become an object with "base64"; in a field's name they are
// escaped.
std::string RegistrationAsJson(const Registration& registration);

// Returns one line for people, with the local time and without a line end.
std::string DescribeRefusal(const Refusal& refusal);
// Returns one line of JSON: "time" (UTC), "request" and "refused", which is the reason.
std::string RefusalAsJson(const Refusal& refusal);

}  // namespace tvtool
