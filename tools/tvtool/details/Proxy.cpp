#include "tvtool/details/Proxy.h"

#include "tvtool/base/Tool.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace tvtool {

namespace {

// Returns the first of the variables that is set and not empty. `name` receives its name.
std::string valueOf(std::initializer_list<std::string> names, std::string& name) {
    for (const std::string& candidate : names) {
        const char* value = secure_getenv(candidate.c_str());
        if (value != nullptr && *value != '\0') {
            name = candidate;
            return value;
        }
    }
    return {};
}

std::string capitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return text;
}

// Removes the port, and the brackets of an IPv6 address.
std::string nameOf(const std::string& host) {
    if (host.starts_with('[')) {
        return host.substr(1, host.find(']') - 1);
    }
    std::string name = host.substr(0, host.find(':'));
    if (name.ends_with('.')) {
        name.pop_back();
    }
    return name;
}

// Returns true if the host is in the network "ADDRESS/BITS", or has exactly this address.
bool isInNetwork(int family, const std::string& host, const std::string& network) {
    const std::size_t slash = std::min(network.find('/'), network.size());
    std::array<unsigned char, 16> a{}, b{};
    if (inet_pton(family, host.c_str(), a.data()) != 1 ||
        inet_pton(family, network.substr(0, slash).c_str(), b.data()) != 1) {
        return false;
    }
    const unsigned size = family == AF_INET ? 32 : 128;
    const unsigned bits = slash < network.size()
                              ? ParseNumber(network.substr(slash + 1), 0U, size).value_or(0)
                              : size;
    for (unsigned i = 0; i < bits; ++i) {
        if (((a[i / 8] ^ b[i / 8]) >> (7 - i % 8) & 1) != 0) {
            return false;
        }
    }
    return bits > 0;
}

// Returns true if the name is the domain or ends with "." and the domain.
bool isInDomain(const std::string& name, std::string domain) {
    domain.erase(0, domain.starts_with('.') ? 1 : 0);
    domain.erase(domain.size() - (domain.ends_with('.') ? 1 : 0));
    if (domain.empty() || domain.size() > name.size()) {
        return false;
    }
    const std::size_t rest = name.size() - domain.size();
    return strcasecmp(name.c_str() + rest, domain.c_str()) == 0 &&
           (rest == 0 || name[rest - 1] == '.');
}

bool isExempt(const std::string& name, const std::string& exceptions) {
    for (std::size_t at = 0; at < exceptions.size();) {
        const std::size_t end = std::min(exceptions.find_first_of(" ,", at), exceptions.size());
        const std::string item = exceptions.substr(at, end - at);
        at = end + 1;
        if (isInDomain(name, item) || isInNetwork(AF_INET, name, item) ||
            isInNetwork(AF_INET6, name, item)) {
            return true;
        }
    }
    return exceptions == "*";
}

}  // namespace

Proxy FindProxy(const std::string& scheme, const std::string& host) {
    Proxy proxy;
    const std::string own = scheme + "_proxy";
    // A web server's script gets the header "Proxy" of a request as HTTP_PROXY.
    proxy.address = valueOf({own, scheme == "http" ? own : capitals(own), "all_proxy", "ALL_PROXY"},
                            proxy.variable);
    std::string exception;
    const std::string exceptions = valueOf({"no_proxy", "NO_PROXY"}, exception);
    if (!proxy.address.empty() && isExempt(nameOf(host), exceptions)) {
        return {"", exception};
    }
    if (!proxy.address.empty() && proxy.address.find("://") == proxy.address.npos) {
        proxy.address.insert(0, "http://");
    }
    return proxy;
}

std::string WithoutPassword(std::string address) {
    const std::size_t slashes = address.find("://");
    const std::size_t start = slashes == address.npos ? 0 : slashes + 3;
    const std::size_t at = address.find_last_of('@', address.find_first_of("/?#", start));
    const std::size_t colon = address.find(':', start);
    if (at != address.npos && at >= start && colon < at) {
        address.replace(colon + 1, at - colon - 1, "***");
    }
    return address;
}

}  // namespace tvtool
