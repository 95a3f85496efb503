// Property-list values and the objects that stand for them.
#include "corefoundation/collection/Array.h"
#include "corefoundation/collection/Data.h"
#include "corefoundation/collection/Dictionary.h"
#include "corefoundation/collection/Number.h"
#include "corefoundation/object/Ref.h"
#include "corefoundation/preferences/Plist.h"
#include "corefoundation/preferences/PlistLocale.h"
#include "corefoundation/string/String.h"

#include <cstdlib>
#include <map>
#include <plist/plist.h>

namespace tvplatform {

namespace {

constexpr int cDeepestValue = 100;
// A container may hold itself, so depth alone does not bound the work.
constexpr int cMostParts = 1000000;

struct FreeNode {
    void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

// For numbers below zero, which libplist's functions and versions treat differently.
Node nodeFromXml(const std::string& xml) {
    plist_t node = nullptr;
    plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &node);
    return Node(node);
}

bool isBelowZero(plist_t node) {
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(node, &xml, &length);
    const std::unique_ptr<char, decltype(&plist_to_xml_free)> owner(xml, &plist_to_xml_free);
    return xml != nullptr &&
           std::string_view(xml, length).find("<integer>-") != std::string_view::npos;
}

Node nodeFromNumber(const Number& number) {
    if (const auto* real = std::get_if<double>(&number.Get())) {
        return Node(plist_new_real(*real));
    }
    const std::int64_t value = std::get<std::int64_t>(number.Get());
    return value >= 0
               ? Node(plist_new_uint(static_cast<uint64_t>(value)))
               : nodeFromXml("<plist><integer>" + std::to_string(value) + "</integer></plist>");
}

// Makes nodes of objects; null for what cannot be one.
class NodeBuilder {
public:
    Node Build(CFTypeRef object) {
        if (depth_ >= cDeepestValue || ++parts_ > cMostParts) {
            return nullptr;
        }
        ++depth_;
        Node node = BuildPart(object);
        --depth_;
        return node;
    }

private:
    Node BuildPart(CFTypeRef object) {
        if (const auto* number = As<const Number>(object)) {
            return nodeFromNumber(*number);
        }
        if (const auto* boolean = As<const Boolean_>(object)) {
            return Node(plist_new_bool(boolean->Get() ? 1 : 0));
        }
        if (const auto* data = As<const Data>(object)) {
            const auto& bytes = data->Get();
            return Node(plist_new_data(
                bytes.empty() ? "" : reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        }
        if (const auto* array = As<const Array>(object)) {
            return BuildArray(*array);
        }
        if (const auto* dictionary = As<const Dictionary>(object)) {
            return BuildDictionary(*dictionary);
        }
        const auto text = ToUtf8(object);
        return text && IsPlistText(*text) ? Node(plist_new_string(text->c_str())) : nullptr;
    }

    Node BuildArray(const Array& array) {
        if (array.CallBacks().retain != kCFTypeArrayCallBacks.retain) {
            return nullptr;  // what it holds need not be objects
        }
        Node node(plist_new_array());
        for (const void* value : array.Values()) {
            Node part = Build(value);
            if (!part) {
                return nullptr;
            }
            plist_array_append_item(node.get(), part.release());
        }
        return node;
    }

    Node BuildDictionary(const Dictionary& dictionary) {
        const auto retainKey = dictionary.Keys().Get().retain;
        if ((retainKey != kCFTypeDictionaryKeyCallBacks.retain &&
             retainKey != kCFCopyStringDictionaryKeyCallBacks.retain) ||
            dictionary.Values().Get().retain != kCFTypeDictionaryValueCallBacks.retain) {
            return nullptr;
        }
        std::map<std::string, const void*> sorted;
        for (const auto& [key, value] : dictionary.Entries()) {
            auto text = ToUtf8(key);
            if (!text || !IsPlistText(*text)) {
                return nullptr;
            }
            sorted.emplace(std::move(*text), value);
        }
        Node node(plist_new_dict());
        for (const auto& [key, value] : sorted) {
            Node part = Build(value);
            if (!part) {
                return nullptr;
            }
            plist_dict_set_item(node.get(), key.c_str(), part.release());
        }
        return node;
    }

    int depth_ = 0;
    int parts_ = 0;
};

Ref<CFTypeRef> makeObject(plist_t node);

Ref<CFTypeRef> makeInteger(plist_t node) {
    uint64_t bits = 0;
    plist_get_uint_val(node, &bits);
    const auto value = static_cast<SInt64>(bits);
    return Ref<CFTypeRef>(value >= 0 || isBelowZero(node)
                              ? CFNumberCreate(nullptr, kCFNumberSInt64Type, &value)
                              : nullptr);
}

Ref<CFTypeRef> makeArray(plist_t node) {
    Ref<CFMutableArrayRef> array(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    plist_array_iter made = nullptr;
    plist_array_new_iter(node, &made);
    const std::unique_ptr<void, decltype(&std::free)> iterator(made, &std::free);
    for (;;) {
        plist_t part = nullptr;
        plist_array_next_item(node, made, &part);
        if (part == nullptr) {
            return array;
        }
        const auto object = makeObject(part);
        if (!object) {
            return nullptr;
        }
        CFArrayAppendValue(array.Get(), object.Get());
    }
}

Ref<CFTypeRef> makeDictionary(plist_t node) {
    Ref<CFMutableDictionaryRef> dictionary(CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    plist_dict_iter made = nullptr;
    plist_dict_new_iter(node, &made);
    const std::unique_ptr<void, decltype(&std::free)> iterator(made, &std::free);
    for (;;) {
        char* key = nullptr;
        plist_t part = nullptr;
        plist_dict_next_item(node, made, &key, &part);
        const std::unique_ptr<char, decltype(&std::free)> keyOwner(key, &std::free);
        if (part == nullptr) {
            return dictionary;
        }
        const Ref<CFStringRef> name(key != nullptr ? MakeString(key) : nullptr);
        const auto object = makeObject(part);
        if (!name || !object) {
            return nullptr;
        }
        CFDictionarySetValue(dictionary.Get(), name.Get(), object.Get());
    }
}

// Recursive, as deep as ParsePlist and PlistFromObject allow.
Ref<CFTypeRef> makeObject(plist_t node) {
    uint64_t length = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return Ref<CFTypeRef>::Share(value != 0 ? kCFBooleanTrue : kCFBooleanFalse);
    }
    case PLIST_UINT:
        return makeInteger(node);
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return Ref<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberFloat64Type, &value));
    }
    case PLIST_STRING: {
        const char* text = plist_get_string_ptr(node, &length);
        return Ref<CFTypeRef>(MakeString(text != nullptr ? text : ""));
    }
    case PLIST_DATA: {
        const char* bytes = plist_get_data_ptr(node, &length);
        return Ref<CFTypeRef>(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes),
                                           static_cast<CFIndex>(length)));
    }
    case PLIST_ARRAY:
        return makeArray(node);
    case PLIST_DICT:
        return makeDictionary(node);
    default:
        return nullptr;
    }
}

}  // namespace

PlistValue PlistFromObject(CFTypeRef object) {
    const PlistLocale locale;
    return NodeBuilder().Build(object);
}

CFTypeRef ObjectFromPlist(const PlistValue& value) {
    const PlistLocale locale;
    return value ? makeObject(value.get()).Detach() : nullptr;
}

}  // namespace tvplatform
