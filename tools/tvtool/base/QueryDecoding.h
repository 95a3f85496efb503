// What a form-encoded query holds.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tvtool {

struct QueryField {
    std::string name;
    std::string value;
    bool hasValue = false;     // there was a "="
    bool isMalformed = false;  // a "%" without two hexadecimal digits, which is left as it is
};

// The fields in their order, also those of one name and those without one; an empty piece between
// two "&" is none. "+" becomes a blank and %XX its byte, whatever that is.
std::vector<QueryField> DecodeQuery(std::string_view query);

}  // namespace tvtool
