#include "cfnetwork/HttpMessage.h"

#include <algorithm>
#include <string_view>

namespace tvplatform {
namespace {

bool isTokenByte(char byte) {
    const bool alnum = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                       (byte >= 'a' && byte <= 'z');
    return alnum || std::string_view("!#$%&'*+-.^_`|~").find(byte) != std::string_view::npos;
}

bool mayBeName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), isTokenByte);
}

bool mayBeValue(std::string_view value) {
    return std::none_of(value.begin(), value.end(), [](char byte) {
        const auto code = static_cast<unsigned char>(byte);
        return code < 0x20 || code == 0x7F;
    });
}

}  // namespace

HttpMessage::HttpMessage(std::string method, std::string address)
    : Object(cType), method_(std::move(method)), address_(std::move(address)) {}

HttpMessage::HttpMessage(int status) : Object(cType), status_(status) {}

HttpMessage::HttpMessage(const HttpMessage& other)
    : Object(cType), method_(other.method_), address_(other.address_), status_(other.status_),
      headers_(other.headers_) {}

void HttpMessage::SetHeader(const std::string& name, const std::optional<std::string>& value) {
    if (!mayBeName(name) || (value && !mayBeValue(*value))) {
        return;
    }
    headers_.erase(name);
    if (value) {
        headers_.emplace(name, *value);
    }
}

std::vector<std::string> HttpMessage::HeaderLines() const {
    std::vector<std::string> lines;
    for (const auto& [name, value] : headers_) {
        // The HTTP library drops a header that has a colon and no value. The semicolon keeps it.
        const bool isBlank = value.find_first_not_of(' ') == std::string::npos;
        lines.push_back(isBlank ? name + ";" : name + ": " + value);
    }
    return lines;
}

}  // namespace tvplatform
