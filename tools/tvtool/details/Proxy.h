// Which proxy a request goes through. The environment names it, by the rules of the HTTP library.
#pragma once

#include <string>

namespace tvtool {

struct Proxy {
    std::string address;   // "" if the request goes straight to the server
    std::string variable;  // the one that decided, or "" if none is set
};
// `scheme` is "http" or "https", `host` a name or an address, with or without a port.
Proxy FindProxy(const std::string& scheme, const std::string& host);

// Puts "***" in the place of the password in an address, for messages.
std::string WithoutPassword(std::string address);

}  // namespace tvtool
