// Takes a form-encoded query apart.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tvtool {

struct QueryField {
    std::string name;
    std::string value;
    bool hasValue = false;  // there was a "="
    bool isMalformed =
        false;  // there was a "%" without two hexadecimal digits, which stays as it is
};

// Returns the fields in their order, with repeated names and fields without a name. An empty piece
// between two "&" is no field. "+" becomes a blank and %XX becomes its byte, whatever that is.
std::vector<QueryField> DecodeQuery(std::string_view query);

}  // namespace tvtool
