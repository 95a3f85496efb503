#include "cfnetwork/HttpMessage.h"

#include <CoreFoundation/CFString.h>

#include <strings.h>

#include <algorithm>
#include <charconv>

namespace tvplatform {
namespace {

bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

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

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    const size_t last = text.find_last_not_of(" \t\r\n");
    return first == std::string_view::npos ? std::string_view{}
                                           : text.substr(first, last - first + 1);
}

// Cuts the first line, with its line end, off `rest`.
std::string_view takeLine(std::string_view& rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    return line;
}

}  // namespace

HttpMessage::HttpMessage(std::string method, CFURLRef url, std::string address, std::string version)
    : Object(cType), method_(std::move(method)), version_(std::move(version)), url_(url),
      address_(std::move(address)) {
    CFRetain(url_);
}

HttpMessage::HttpMessage(std::string_view header) : Object(cType) {
    const std::string_view statusLine = takeLine(header);
    const size_t space = std::min(statusLine.find(' '), statusLine.size());
    version_ = statusLine.substr(0, space);
    const std::string_view status = trimmed(statusLine.substr(space));
    std::from_chars(status.data(), status.data() + status.size(), status_);
    while (!header.empty()) {
        const std::string_view line = takeLine(header);
        if (const size_t colon = line.find(':'); colon != std::string_view::npos) {
            headers_.emplace_back(line.substr(0, colon), trimmed(line.substr(colon + 1)));
        } else if (!headers_.empty() && !trimmed(line).empty()) {
            // A continued line.
            headers_.back().second.append(" ").append(trimmed(line));
        }
    }
}

HttpMessage::HttpMessage(const HttpMessage& other)
    : Object(cType), method_(other.method_), version_(other.version_), url_(other.url_),
      address_(other.address_), status_(other.status_), headers_(other.headers_) {
    CFRetain(url_);
}

HttpMessage::~HttpMessage() {
    CFRelease(url_);
}

void HttpMessage::SetHeader(const std::string& name, const std::optional<std::string>& value) {
    if (!mayBeName(name) || (value && !mayBeValue(*value))) {
        return;
    }
    std::erase_if(headers_, [&](const auto& known) { return sameName(known.first, name); });
    if (value) {
        headers_.emplace_back(name, *value);
    }
}

std::optional<std::string> HttpMessage::Header(std::string_view name) const {
    std::optional<std::string> joined;
    for (const auto& [known, value] : headers_) {
        if (sameName(known, name)) {
            joined = joined ? *joined + ", " + value : value;
        }
    }
    return joined;
}

std::vector<std::string> HttpMessage::HeaderLines() const {
    std::vector<std::string> lines;
    for (const auto& [name, value] : headers_) {
        // The HTTP library's sign for a header without a value; with a colon it would drop it.
        lines.push_back(trimmed(value).empty() ? name + ";" : name + ": " + value);
    }
    return lines;
}

std::optional<std::string> Utf8Of(CFStringRef text) {
    if (text == nullptr || CFGetTypeID(text) != CFStringGetTypeID()) {
        return std::nullopt;
    }
    const CFRange all = CFRangeMake(0, CFStringGetLength(text));
    CFIndex size = 0;
    if (CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size) !=
        all.length) {
        return std::nullopt;
    }
    std::string bytes(static_cast<size_t>(size), '\0');
    CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(bytes.data()), size, &size);
    return bytes;
}

CFStringRef CreateString(std::string_view bytes) {
    const auto* data = reinterpret_cast<const UInt8*>(bytes.data());
    const auto size = static_cast<CFIndex>(bytes.size());
    CFStringRef text = CFStringCreateWithBytes(nullptr, data, size, kCFStringEncodingUTF8, false);
    return text != nullptr
               ? text
               : CFStringCreateWithBytes(nullptr, data, size, kCFStringEncodingISOLatin1, false);
}

}  // namespace tvplatform
