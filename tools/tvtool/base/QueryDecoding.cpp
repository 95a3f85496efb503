#include "tvtool/base/QueryDecoding.h"

#include "tvtool/base/Escapes.h"

#include <algorithm>

namespace tvtool {

namespace {

std::string decodePart(std::string_view text, bool& isMalformed) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        char c = text[at] == '+' ? ' ' : text[at];
        if (c == '%' && ParseHexByte(text.substr(at + 1), c)) {
            at += 2;
        } else if (c == '%') {
            isMalformed = true;
        }
        out += c;
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
        field.name = decodePart(piece.substr(0, equals), field.isMalformed);
        if (field.hasValue) {
            field.value = decodePart(piece.substr(equals + 1), field.isMalformed);
        }
        fields.push_back(std::move(field));
    }
    return fields;
}

}  // namespace tvtool
