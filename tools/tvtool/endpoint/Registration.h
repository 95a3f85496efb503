// Shows a registration as it arrived, and why a request was refused.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tvtool {

struct Registration {
    std::time_t time = 0;  // seconds since 1970, UTC
    // Bytes as they were on the wire.
    std::string path;
    std::string query;
    std::optional<std::string> userAgent;
    std::string head;  // the request line and the header, each line escaped
};

// A request that is no registration, or a connection that brought no request.
struct Refusal {
    std::time_t time = 0;
    std::string request;  // the method and the address as it arrived, as far as they are known
    std::string reason;
};

// Returns the local time, 19 characters.
std::string TimeForPeople(std::time_t time);
// Returns the user agent, the fields, and the details that are missing, each as a label and a text,
// for people. They hold no control characters.
std::vector<std::pair<std::string, std::string>> DescribeFields(const Registration& registration);
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
