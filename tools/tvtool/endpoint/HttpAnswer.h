// Answers one request, by the HTTP library.
#pragma once

#include "tvtool/endpoint/Connection.h"

#include <string>

namespace tvtool {

struct HttpAnswer {
    int status = 200;
    std::string body;      // plain text
    std::string location;  // where to redirect to; empty for no such header
};

// Answers the request whose head `connection` has read, or refuses it if it is no proper HTTP.
// Returns true if the connection can take another request, which only happens with `keepAlive`.
bool AnswerRequest(Connection& connection, const HttpAnswer& answer, bool keepAlive);

}  // namespace tvtool
