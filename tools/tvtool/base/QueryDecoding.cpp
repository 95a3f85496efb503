#include "tvtool/base/QueryDecoding.h"

#include <algorithm>
#include <charconv>

namespace tvtool {

namespace {

std::string DecodeText(std::string_view text, bool& isMalformed) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned char byte = 0;
        const std::string_view digits = text.substr(at + 1, 2);
        if (text[at] == '+') {
            out += ' ';
        } else if (text[at] != '%') {
            out += text[at];
        } else if (digits.size() == 2 &&
                   std::from_chars(digits.begin(), digits.end(), byte, 16).ptr == digits.end()) {
            out += static_cast<char>(byte);
            at += 2;
        } else {
            isMalformed = true;
            out += '%';
        }
    }
    return out;
}

}  // namespace

std::vector<QueryField> DecodeQuery(std::string_view query) {
    std::vector<QueryField> fields;
    for (std::size_t at = 0; at < query.size();) {
        const std::size_t end = std::min(query.find('&', at), query.size());
        const std::string_view piece = query.substr(at, end - at);
        at = end + 1;
        if (piece.empty()) {
            continue;
        }
        const std::size_t equals = std::min(piece.find('='), piece.size());
        QueryField field;
        field.hasValue = equals < piece.size();
        field.name = DecodeText(piece.substr(0, equals), field.isMalformed);
        if (field.hasValue) {
            field.value = DecodeText(piece.substr(equals + 1), field.isMalformed);
        }
        fields.push_back(std::move(field));
    }
    return fields;
}

}  // namespace tvtool
