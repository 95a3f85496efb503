// A registration as it arrived: found in the head of a request, and shown.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tvtool {

struct Registration {
    // Bytes as they were on the wire.
    std::string path;
    std::string query;
    std::optional<std::string> userAgent;
};

// The request's address as it stands in the request line; empty when that line is none.
std::string_view TargetOf(std::string_view head);
// Nothing unless the request is a GET whose address has a query.
std::optional<Registration> FindRegistration(std::string_view head);

// A block of lines for people, with the time of day; nothing in it can disturb a terminal.
std::string DescribeRegistration(const Registration& registration);
// One line of JSON: "path", "query", "userAgent" (null: none) and "fields", decoded, in their
// order; a field that occurs several times has an array of its values. What is not UTF-8 is an
// object with "base64"; in a field's name it is escaped.
std::string RegistrationAsJson(const Registration& registration);

}  // namespace tvtool
