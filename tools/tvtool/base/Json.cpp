#include "tvtool/base/Json.h"

#include "posix/Base64.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/PlatformText.h"

#include <optional>

namespace tvtool {

Json JsonText(std::string_view bytes, CFStringEncoding encoding) {
    const std::optional<std::string> text = ConvertText(bytes, encoding, kCFStringEncodingUTF8);
    // Some encodings have two forms of a character. Only bytes that come back the same may be text.
    if (text && ConvertText(*text, kCFStringEncodingUTF8, encoding) == bytes) {
        return *text;
    }
    return {{"base64", tvposix::EncodeBase64(bytes)}};
}

std::string TextFromJson(const ParsedJson& value, const std::string& where) {
    const bool isBase64 = value.is_object() && value.size() == 1 && value.contains("base64");
    const ParsedJson& content = isBase64 ? value["base64"] : value;
    if (!content.is_string()) {
        Fail(Exit::Damaged, where, "must be a string or {\"base64\": \"...\"}");
    }
    const std::string& text = content.get_ref<const std::string&>();
    const std::optional<std::string> bytes =
        isBase64 ? tvposix::DecodeBase64(text)
                 : ConvertText(text, kCFStringEncodingUTF8, CFStringGetSystemEncoding());
    // There is one form only: with its padding, and no bits that belong to no byte.
    if (!bytes || (isBase64 && tvposix::EncodeBase64(*bytes) != text)) {
        Fail(Exit::Damaged, where,
             isBase64 ? "is no valid base64"
                      : "has characters that the system encoding does not have");
    }
    if (bytes->find('\0') != bytes->npos) {
        Fail(Exit::Damaged, where, "holds a NUL, which no text can hold");
    }
    return *bytes;
}

namespace {

// Copies of values recurse, so their depth needs a bound. The parser could count the levels, but it
// would look at all members of an object whenever one of them ends.
bool isNestedTooDeep(std::string_view text) {
    constexpr int cDeepest = 100;
    int depth = 0;
    bool isInText = false;
    for (std::size_t at = 0; at < text.size() && depth <= cDeepest; ++at) {
        const char c = text[at];
        if (isInText) {
            at += c == '\\' ? 1 : 0;
            isInText = c != '"';
        } else {
            isInText = c == '"';
            depth += c == '[' || c == '{' ? 1 : c == ']' || c == '}' ? -1 : 0;
        }
    }
    return depth > cDeepest;
}

}  // namespace

ParsedJson ParseJson(const std::string& text, const std::string& name) {
    if (isNestedTooDeep(text)) {
        Fail(Exit::Damaged, name, "is JSON that is nested too deep");
    }
    try {
        return ParsedJson::parse(text);
    } catch (const ParsedJson::parse_error& error) {
        const Place place = PlaceOf(text, error.byte > 0 ? error.byte - 1 : 0);
        Fail(Exit::Damaged, At(name, place), "is no valid JSON from here on");
    } catch (const ParsedJson::out_of_range&) {
        Fail(Exit::Damaged, name, "is JSON with a number that is too large");
    }
}

void PrintJson(Output& out, const Json& value) {
    out << value.dump(2) << "\n";
}

}  // namespace tvtool
