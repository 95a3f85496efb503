// The C interface of percent escapes in texts.
#include "corefoundation/string/Encoding.h"
#include "corefoundation/string/String.h"
#include "corefoundation/string/Utf8.h"
#include "corefoundation/url/PercentEscapes.h"

#include <CoreFoundation/CFURL.h>

#include <algorithm>
#include <vector>

namespace tvplatform {

namespace {

// The characters of a string. The set of a null string is empty.
class CharacterSet {
public:
    explicit CharacterSet(CFStringRef string) {
        const std::u16string_view text = TextOf(string).value_or(std::u16string_view());
        for (size_t at = 0; at < text.size();) {
            characters_.push_back(CodePointAt(text, at, at));
        }
        std::sort(characters_.begin(), characters_.end());
    }
    bool Contains(char32_t c) const {
        return std::binary_search(characters_.begin(), characters_.end(), c);
    }

private:
    std::vector<char32_t> characters_;
};

// Replaces escapes in a text. The bytes of adjoining escapes are decoded together.
class EscapeReplacer {
public:
    EscapeReplacer(const CharacterSet& kept, CFStringEncoding encoding)
        : kept_(kept), encoding_(encoding) {}

    std::optional<std::u16string> Replace(std::u16string_view text) {
        for (size_t at = 0; at < text.size();) {
            if (text[at] != '%') {
                if (!Flush()) {
                    return std::nullopt;
                }
                result_.push_back(text[at++]);
                continue;
            }
            const int byte = at + 2 < text.size() ? EscapedByte(text[at + 1], text[at + 2]) : -1;
            if (byte < 0) {
                return std::nullopt;
            }
            if (byte < 0x80 && kept_.Contains(static_cast<char32_t>(byte))) {
                if (!Flush()) {
                    return std::nullopt;
                }
                result_.append(text.substr(at, 3));
            } else {
                bytes_.push_back(static_cast<char>(byte));
            }
            at += 3;
        }
        return Flush() ? std::optional(std::move(result_)) : std::nullopt;
    }

private:
    bool Flush() {
        if (bytes_.empty()) {
            return true;
        }
        const auto decoded = Decode(bytes_, encoding_);
        bytes_.clear();
        result_ += decoded.value_or(std::u16string());
        return decoded.has_value();
    }

    const CharacterSet& kept_;
    const CFStringEncoding encoding_;
    std::string bytes_;
    std::u16string result_;
};

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
    const CharacterSet kept(charsToLeaveEscaped);
    auto replaced = EscapeReplacer(kept, encoding).Replace(*text);
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
    const CharacterSet left(charactersToLeaveUnescaped);
    const CharacterSet escaped(legalURLCharactersToBeEscaped);
    std::u16string result;
    size_t begin = 0;  // of the stretch that is to be escaped, which ends at `at`
    for (size_t at = 0; at < text->size();) {
        size_t next = at;
        const char32_t c = CodePointAt(*text, at, next);
        if (!escaped.Contains(c) && (IsPlain(c) || left.Contains(c))) {
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
