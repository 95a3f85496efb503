// A request, or the header of an answer.
#pragma once

#include "corefoundation/object/Object.h"
#include "corefoundation/object/Ref.h"

#include <CFNetwork/CFHTTPMessage.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tvplatform {

class HttpMessage final : public Object {
public:
    static constexpr TypeId cType = TypeId::HttpMessage;
    using Headers = std::vector<std::pair<std::string, std::string>>;

    // A request. All texts in UTF-8.
    HttpMessage(std::string method, CFURLRef url, std::string address, std::string version);
    // An answer, from its header as it arrived: status line, then a line each.
    explicit HttpMessage(std::string_view header);
    // A copy, with one reference.
    HttpMessage(const HttpMessage& other);
    ~HttpMessage() override;

    bool IsRequest() const { return url_ != nullptr; }
    int Status() const { return status_; }
    const std::string& Method() const { return method_; }
    const std::string& Version() const { return version_; }
    CFURLRef Url() const { return url_; }
    const std::string& Address() const { return address_; }

    // Without a value the header is removed. Nothing changes for a name or value that may not be
    // sent.
    void SetHeader(const std::string& name, const std::optional<std::string>& value);
    std::optional<std::string> Header(std::string_view name) const;
    // "Name: value" each.
    std::vector<std::string> HeaderLines() const;

private:
    std::string method_;
    std::string version_;
    CFURLRef url_ = nullptr;
    std::string address_;
    int status_ = 0;
    Headers headers_;
};

// Texts at the border: UTF-8 inside. Nothing for a null, a wrong type or text that UTF-8 cannot
// hold; null for bytes that are neither UTF-8 nor Latin-1.
std::optional<std::string> Utf8Of(CFStringRef text);
CFStringRef CreateString(std::string_view bytes);

}  // namespace tvplatform
