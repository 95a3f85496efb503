#include "tvtool/base/Json.h"

#include "tvtool/base/Escapes.h"
#include "tvtool/base/PlatformText.h"

#include <algorithm>
#include <optional>

namespace tvtool {

namespace {

std::optional<std::string> convert(std::string_view bytes, CFStringEncoding from,
                                   CFStringEncoding to) {
    const StringRef text = DecodeText(bytes, from);
    return text ? EncodeText(text.Get(), to) : std::nullopt;
}

constexpr char cAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string fromObject(const Json& object, const std::string& where) {
    std::string bytes;
    if (object.size() != 1 || !object.contains("base64") || !object["base64"].is_string()) {
        Fail(Exit::Damaged, where, "must be a string or {\"base64\": \"...\"}");
    }
    if (!Base64Decode(object["base64"].get<std::string>(), bytes)) {
        Fail(Exit::Damaged, where, "is no valid base64");
    }
    return bytes;
}

}  // namespace

Json JsonText(std::string_view bytes) {
    const CFStringEncoding system = CFStringGetSystemEncoding();
    const std::optional<std::string> text = convert(bytes, system, kCFStringEncodingUTF8);
    // Some encodings have two forms of a character; only what comes back the same may be text.
    if (text && convert(*text, kCFStringEncodingUTF8, system) == bytes) {
        return *text;
    }
    return {{"base64", Base64Encode(bytes)}};
}

std::string TextFromJson(const Json& value, const std::string& where) {
    if (!value.is_string() && !value.is_object()) {
        Fail(Exit::Damaged, where, "must be a string or {\"base64\": \"...\"}");
    }
    std::optional<std::string> bytes;
    if (value.is_object()) {
        bytes = fromObject(value, where);
    } else {
        bytes = convert(value.get_ref<const std::string&>(), kCFStringEncodingUTF8,
                        CFStringGetSystemEncoding());
    }
    if (!bytes) {
        Fail(Exit::Damaged, where, "has characters that the system encoding does not have");
    }
    if (bytes->find('\0') != bytes->npos) {
        Fail(Exit::Damaged, where, "holds a NUL, which no text can hold");
    }
    return *bytes;
}

Json ParseJson(const std::string& text, const std::string& name) {
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        const Place place = PlaceOf(text, error.byte > 0 ? error.byte - 1 : 0);
        Fail(Exit::Damaged, At(name, place), "is no valid JSON from here on");
    }
}

void PrintJson(Output& out, const Json& value) {
    out << value.dump(2) << "\n";
}

std::string Base64Encode(std::string_view bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(bytes.size() - at, 3);
        unsigned group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= count ? cAlphabet[group >> (18 - 6 * i) & 63] : '=';
        }
    }
    return text;
}

bool Base64Decode(std::string_view text, std::string& bytes) {
    bytes.clear();
    for (std::size_t at = 0; at < text.size(); at += 4) {
        const std::string_view four = text.substr(at, 4);
        const bool isLast = at + 4 >= text.size();
        std::size_t count = 4;
        while (isLast && count > 2 && count <= four.size() && four[count - 1] == '=') {
            --count;
        }
        unsigned group = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const std::size_t digit =
                i < four.size() ? std::string_view(cAlphabet).find(four[i]) : std::string::npos;
            if (i < count && digit == std::string::npos) {
                return false;
            }
            group = group << 6 | (i < count ? static_cast<unsigned>(digit) : 0U);
        }
        if ((group & ((1U << (8 * (4 - count))) - 1)) != 0) {
            return false;  // bits that belong to no byte
        }
        for (std::size_t i = 0; i + 1 < count; ++i) {
            bytes += static_cast<char>(group >> (16 - 8 * i) & 0xFF);
        }
    }
    return true;
}

}  // namespace tvtool
