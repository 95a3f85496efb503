#include "corefoundation/preferences/PlistDepth.h"

#include <algorithm>

namespace tvplatform {

namespace {

// Where the text behind `end` begins, looked for from `from` on.
size_t Behind(std::string_view xml, std::string_view end, size_t from) {
    const size_t found = xml.find(end, from);
    return found == std::string_view::npos ? xml.size() : found + end.size();
}

bool isContainer(std::string_view name) {
    return name.starts_with("dict") || name.starts_with("array");
}

// Whether a tag, from behind its "<", is closed in itself: nothing but white space before "/>".
bool isEmptyElement(std::string_view tag) {
    const size_t slash = tag.find_first_not_of(" \t\r\n", tag.starts_with("dict") ? 4 : 5);
    return slash != std::string_view::npos && tag.substr(slash).starts_with("/>");
}

}  // namespace

bool IsPlistDeeperThan(std::string_view xml, size_t levels) {
    size_t depth = 0;
    for (size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at)) {
        const std::string_view tag = xml.substr(at + 1);
        if (tag.starts_with("!--")) {
            at = Behind(xml, "-->", at + 4);
        } else if (tag.starts_with("![CDATA[")) {
            at = Behind(xml, "]]>", at + 9);
        } else if (tag.starts_with("?")) {
            at = Behind(xml, "?>", at + 2);
        } else {
            if (tag.starts_with("/") && isContainer(tag.substr(1))) {
                depth -= std::min<size_t>(depth, 1);
            } else if (isContainer(tag) && !isEmptyElement(tag) && ++depth > levels) {
                return true;
            }
            ++at;
        }
    }
    return false;
}

}  // namespace tvplatform
