// A request, or what is kept of the header of an answer. Any number of threads may read a message,
// one may change it.
#pragma once

#include "cfnetwork/AsciiCase.h"
#include "corefoundation/object/Object.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tvplatform {

class HttpMessage final : public Object {
public:
    static constexpr TypeId cType = TypeId::HttpMessage;

    // Makes a request. All texts are in UTF-8.
    HttpMessage(std::string method, std::string address);
    // Makes an answer.
    explicit HttpMessage(int status);
    // Makes a copy that has one reference.
    HttpMessage(const HttpMessage& other);

    // Returns the status of an answer. Returns 0 for a request, which has none.
    int Status() const { return status_; }
    const std::string& Method() const { return method_; }
    const std::string& Address() const { return address_; }

    // Sets or replaces a header, or removes it if there is no value. Changes nothing if the name or
    // the value may not be sent.
    void SetHeader(const std::string& name, const std::optional<std::string>& value);
    // Returns each header as "Name: value", sorted by name.
    std::vector<std::string> HeaderLines() const;

private:
    // Orders the names of headers, in which case does not count.
    struct IgnoringCase {
        bool operator()(const std::string& a, const std::string& b) const {
            return IsLessIgnoringCase(a, b);
        }
    };

    const std::string method_;
    const std::string address_;
    const int status_ = 0;
    std::map<std::string, std::string, IgnoringCase> headers_;
};

}  // namespace tvplatform
