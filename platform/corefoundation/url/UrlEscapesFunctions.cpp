// The C interface of percent escapes in texts.
#include "corefoundation/string/Encoding.h"
#include "corefoundation/string/String.h"
#include "corefoundation/string/Utf8.h"
#include "corefoundation/url/PercentEscapes.h"

#include <CoreFoundation/CFURL.h>

#include <set>

namespace tvplatform {

namespace {

// The characters of a string. The set of a null string is empty.
std::set<char32_t> charactersOf(CFStringRef string) {
    const std::u16string_view text = TextOf(string).value_or(std::u16string_view());
    std::set<char32_t> characters;
    for (size_t at = 0; at < text.size();) {
        characters.insert(CodePointAt(text, at, at));
    }
    return characters;
}

// Replaces the escapes in a text, but for those of the ASCII characters in `kept`. The bytes of
// adjoining escapes are decoded together.
std::optional<std::u16string> replaceEscapes(std::u16string_view text,
                                             const std::set<char32_t>& kept,
                                             CFStringEncoding encoding) {
    std::u16string result;
    std::string bytes;
    for (size_t at = 0;;) {
        const bool isEscape = at < text.size() && text[at] == '%';
        if (isEscape) {
            const int byte = at + 2 < text.size() ? EscapedByte(text[at + 1], text[at + 2]) : -1;
            if (byte < 0) {
                return std::nullopt;
            }
            if (byte >= 0x80 || !kept.contains(static_cast<char32_t>(byte))) {
                bytes.push_back(static_cast<char>(byte));
                at += 3;
                continue;
            }
        }
        if (!bytes.empty()) {
            const auto decoded = Decode(bytes, encoding);
            if (!decoded) {
                return std::nullopt;
            }
            result += *decoded;
            bytes.clear();
        }
        if (at == text.size()) {
            return result;
        }
        const size_t length = isEscape ? 3 : 1;
        result.append(text.substr(at, length));
        at += length;
    }
}

// Appends a stretch of text with every byte escaped. Returns false if it cannot be encoded.
bool appendEscaped(std::u16string& result, std::u16string_view stretch, CFStringEncoding encoding) {
    if (stretch.empty()) {
        return true;
    }
    const auto bytes = Encode(stretch, encoding);
    std::string escapes;
    for (const char byte : bytes.value_or(std::string())) {
        AppendEscape(escapes, byte);
    }
    result.append(escapes.begin(), escapes.end());
    return bytes.has_value();
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFStringRef CFURLCreateStringByReplacingPercentEscapesUsingEncoding(CFAllocatorRef,
                                                                    CFStringRef origString,
                                                                    CFStringRef charsToLeaveEscaped,
                                                                    CFStringEncoding encoding) {
    const auto text = TextOf(origString);
    if (!text) {
        return nullptr;
    }
    if (charsToLeaveEscaped == nullptr) {
        return MakeString(std::u16string(*text));
    }
    auto replaced = replaceEscapes(*text, charactersOf(charsToLeaveEscaped), encoding);
    return replaced ? MakeString(std::move(*replaced)) : nullptr;
}

CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef allocator,
                                                       CFStringRef originalString,
                                                       CFStringRef charactersToLeaveEscaped) {
    return CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
        allocator, originalString, charactersToLeaveEscaped, kCFStringEncodingUTF8);
}

CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef, CFStringRef originalString,
                                                    CFStringRef charactersToLeaveUnescaped,
                                                    CFStringRef legalURLCharactersToBeEscaped,
                                                    CFStringEncoding encoding) {
    const auto text = TextOf(originalString);
    if (!text) {
        return nullptr;
    }
    const auto left = charactersOf(charactersToLeaveUnescaped);
    const auto escaped = charactersOf(legalURLCharactersToBeEscaped);
    std::u16string result;
    size_t begin = 0;  // of the stretch that is to be escaped, which ends at `at`
    for (size_t at = 0; at < text->size();) {
        size_t next = at;
        const char32_t c = CodePointAt(*text, at, next);
        if (!escaped.contains(c) && (IsPlain(c) || left.contains(c))) {
            if (!appendEscaped(result, text->substr(begin, at - begin), encoding)) {
                return nullptr;
            }
            result.append(text->substr(at, next - at));
            begin = next;
        }
        at = next;
    }
    return appendEscaped(result, text->substr(begin), encoding) ? MakeString(std::move(result))
                                                                : nullptr;
}
