// Property-list values and the objects that stand for them.
#include "corefoundation/collection/Array.h"
#include "corefoundation/collection/Data.h"
#include "corefoundation/collection/Dictionary.h"
#include "corefoundation/collection/Number.h"
#include "corefoundation/object/Ref.h"
#include "corefoundation/preferences/Plist.h"
#include "corefoundation/string/String.h"
#include "posix/Base64.h"

#include <charconv>
#include <map>

namespace tvplatform {

namespace {

constexpr int cDeepestValue = 100;
// A container may hold itself, so depth alone does not bound the work.
constexpr int cMostParts = 1000000;

PlistValue makeNode(PlistKind kind, std::string text, std::vector<PlistEntry> parts = {}) {
    return std::make_shared<const PlistNode>(PlistNode{kind, std::move(text), std::move(parts)});
}

// The shortest digits that give the number back, whatever the application's locale.
template <class T>
std::string digitsOf(T number) {
    char digits[64];
    return {digits, std::to_chars(digits, std::end(digits), number).ptr};
}

PlistValue nodeFromNumber(const Number& number) {
    if (const auto* real = std::get_if<double>(&number.Get())) {
        return makeNode(PlistKind::Real, digitsOf(*real));
    }
    return makeNode(PlistKind::Integer, digitsOf(std::get<std::int64_t>(number.Get())));
}

// Makes values of objects; null for what cannot be one.
class NodeBuilder {
public:
    PlistValue Build(CFTypeRef object) {
        if (depth_ >= cDeepestValue || ++parts_ > cMostParts) {
            return nullptr;
        }
        ++depth_;
        PlistValue node = BuildPart(object);
        --depth_;
        return node;
    }

private:
    PlistValue BuildPart(CFTypeRef object) {
        if (const auto* number = As<const Number>(object)) {
            return nodeFromNumber(*number);
        }
        if (const auto* boolean = As<const Boolean_>(object)) {
            return makeNode(boolean->Get() ? PlistKind::True : PlistKind::False, {});
        }
        if (const auto* data = As<const Data>(object)) {
            return makeNode(PlistKind::Bytes, tvposix::EncodeBase64(data->bytes));
        }
        if (const auto* array = As<const Array>(object)) {
            return BuildArray(*array);
        }
        if (const auto* dictionary = As<const Dictionary>(object)) {
            return BuildDictionary(*dictionary);
        }
        auto text = ToUtf8(object);
        return text && IsPlistText(*text) ? makeNode(PlistKind::Text, std::move(*text)) : nullptr;
    }

    PlistValue BuildArray(const Array& array) {
        if (array.CallBacks().retain != kCFTypeArrayCallBacks.retain) {
            return nullptr;  // what it holds need not be objects
        }
        std::vector<PlistEntry> parts;
        for (const void* value : array.Values()) {
            parts.push_back({{}, Build(value)});
            if (!parts.back().value) {
                return nullptr;
            }
        }
        return makeNode(PlistKind::List, {}, std::move(parts));
    }

    PlistValue BuildDictionary(const Dictionary& dictionary) {
        const auto retainKey = dictionary.Keys().Get().retain;
        if ((retainKey != kCFTypeDictionaryKeyCallBacks.retain &&
             retainKey != kCFCopyStringDictionaryKeyCallBacks.retain) ||
            dictionary.Values().Get().retain != kCFTypeDictionaryValueCallBacks.retain) {
            return nullptr;
        }
        std::map<std::string, PlistValue> sorted;
        for (const auto& [key, value] : dictionary.Entries()) {
            auto text = ToUtf8(key);
            auto part = text && IsPlistText(*text) ? Build(value) : nullptr;
            if (!part) {
                return nullptr;
            }
            sorted.emplace(std::move(*text), std::move(part));
        }
        std::vector<PlistEntry> parts;
        for (auto& [key, value] : sorted) {
            parts.push_back({key, std::move(value)});
        }
        return makeNode(PlistKind::Dict, {}, std::move(parts));
    }

    int depth_ = 0;
    int parts_ = 0;
};

Ref<CFTypeRef> makeObject(const PlistNode& node);

// Decimal, or hexadecimal behind "0x", with a sign.
Ref<CFTypeRef> makeInteger(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative || text.starts_with('+') ? 1 : 0);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHexadecimal ? 2 : 0);
    const std::string signedText = (isNegative ? "-" : "") + std::string(text);
    SInt64 value = 0;
    const char* end = signedText.data() + signedText.size();
    const auto read = std::from_chars(signedText.data(), end, value, isHexadecimal ? 16 : 10);
    const bool isWhole = read.ec == std::errc() && read.ptr == end && !text.starts_with('-');
    return Ref<CFTypeRef>(isWhole ? CFNumberCreate(nullptr, kCFNumberSInt64Type, &value) : nullptr);
}

Ref<CFTypeRef> makeReal(std::string_view text) {
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    double value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isWhole = read.ec == std::errc() && read.ptr == text.data() + text.size();
    return Ref<CFTypeRef>(isWhole ? CFNumberCreate(nullptr, kCFNumberFloat64Type, &value)
                                  : nullptr);
}

Ref<CFTypeRef> makeData(std::string_view base64) {
    auto bytes = tvposix::DecodeBase64(base64);
    return Ref<CFTypeRef>(bytes ? new Data(std::move(*bytes)) : nullptr);
}

Ref<CFTypeRef> makeArray(const std::vector<PlistEntry>& parts) {
    Ref<CFMutableArrayRef> array(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    for (const PlistEntry& part : parts) {
        const auto object = makeObject(*part.value);
        if (!object) {
            return nullptr;
        }
        CFArrayAppendValue(array.Get(), object.Get());
    }
    return array;
}

Ref<CFTypeRef> makeDictionary(const std::vector<PlistEntry>& parts) {
    Ref<CFMutableDictionaryRef> dictionary(CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    for (const PlistEntry& part : parts) {
        const Ref<CFStringRef> name(MakeString(part.key));
        const auto object = makeObject(*part.value);
        if (!name || !object) {
            return nullptr;
        }
        CFDictionarySetValue(dictionary.Get(), name.Get(), object.Get());
    }
    return dictionary;
}

// Recursive, as deep as ReadPlist and PlistFromObject allow.
Ref<CFTypeRef> makeObject(const PlistNode& node) {
    switch (node.kind) {
    case PlistKind::True:
        return Ref<CFTypeRef>::Share(kCFBooleanTrue);
    case PlistKind::False:
        return Ref<CFTypeRef>::Share(kCFBooleanFalse);
    case PlistKind::Integer:
        return makeInteger(node.text);
    case PlistKind::Real:
        return makeReal(node.text);
    case PlistKind::Text:
        return Ref<CFTypeRef>(MakeString(node.text));
    case PlistKind::Bytes:
        return makeData(node.text);
    case PlistKind::List:
        return makeArray(node.parts);
    case PlistKind::Dict:
        return makeDictionary(node.parts);
    case PlistKind::Date:
        break;
    }
    return nullptr;
}

}  // namespace

PlistValue PlistFromObject(CFTypeRef object) {
    return NodeBuilder().Build(object);
}

CFTypeRef ObjectFromPlist(const PlistValue& value) {
    return value ? makeObject(*value).Detach() : nullptr;
}

}  // namespace tvplatform
