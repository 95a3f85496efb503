#include "corefoundation/preferences/Plist.h"

#include "corefoundation/preferences/PlistDepth.h"
#include "corefoundation/preferences/PlistLocale.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <plist/plist.h>

namespace tvplatform {

namespace {

// libplist builds and frees trees by recursion.
constexpr size_t cDeepestDocument = 200;

}  // namespace

bool IsPlistText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n' || c == '\r';
    });
}

std::optional<std::vector<PlistEntry>> ParsePlist(std::string_view xml) {
    // A zero byte would end a text early.
    if (xml.size() > std::numeric_limits<uint32_t>::max() ||
        xml.find('\0') != std::string_view::npos || IsPlistDeeperThan(xml, cDeepestDocument)) {
        return std::nullopt;
    }
    const PlistLocale locale;
    plist_t node = nullptr;
    plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &node);
    if (node == nullptr) {
        return std::nullopt;
    }
    const PlistValue root(node, plist_free);
    if (plist_get_node_type(node) != PLIST_DICT) {
        return std::nullopt;
    }
    plist_dict_iter made = nullptr;
    plist_dict_new_iter(node, &made);
    const std::unique_ptr<void, decltype(&std::free)> iterator(made, &std::free);
    std::vector<PlistEntry> entries;
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, made, &key, &value);
        const std::unique_ptr<char, decltype(&std::free)> keyOwner(key, &std::free);
        if (value == nullptr) {
            return entries;
        }
        // Part of the tree, and so its owner too.
        entries.push_back({key != nullptr ? key : "", PlistValue(root, value)});
    }
}

std::string WritePlist(const std::vector<PlistEntry>& entries) {
    const PlistLocale locale;
    const PlistValue dictionary(plist_new_dict(), plist_free);
    for (const PlistEntry& entry : entries) {
        plist_dict_set_item(dictionary.get(), entry.key.c_str(), plist_copy(entry.value.get()));
    }
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(dictionary.get(), &xml, &length);
    const std::unique_ptr<char, decltype(&plist_to_xml_free)> owner(xml, &plist_to_xml_free);
    return xml != nullptr ? std::string(xml, length) : std::string();
}

}  // namespace tvplatform
