// Shows a registration as it arrived.
#pragma once

#include <optional>
#include <string>

namespace tvtool {

struct Registration {
    // Bytes as they were on the wire.
    std::string path;
    std::string query;
    std::optional<std::string> userAgent;
};

// Returns a block of lines for people, with the time of day. It holds no control characters.
std::string DescribeRegistration(const Registration& registration);
// Returns one line of JSON: "path", "query", "userAgent" (null if there is none) and "fields",
// which are decoded and in their order. A field that occurs several times has an array of its
// values. Bytes that are not UTF-8 become an object with "base64"; in a field's name they are
// escaped.
std::string RegistrationAsJson(const Registration& registration);

}  // namespace tvtool
