#include "tvtool/base/Escapes.h"

#include "posix/CodePoint.h"
#include "tvtool/base/PlatformText.h"

#include <algorithm>
#include <charconv>

namespace tvtool {

namespace {

// The characters that have an escape of their own, and the letters of these escapes.
constexpr std::string_view cShortForms = "\n\r\t\\";
constexpr std::string_view cLetters = "nrt\\";

unsigned char toByte(char c) {
    return static_cast<unsigned char>(c);
}

void appendEscape(std::string& out, char c) {
    static constexpr char cHexDigits[] = "0123456789ABCDEF";
    out += '\\';
    if (const std::size_t i = cShortForms.find(c); i != cShortForms.npos) {
        out += cLetters[i];
    } else {
        out += 'x';
        out += cHexDigits[toByte(c) >> 4];
        out += cHexDigits[toByte(c) & 15];
    }
}

bool isVisible(char32_t c) {
    return c >= 0x20 && (c < 0x7F || c >= 0xA0) && c != 0x2028 && c != 0x2029 && c != 0xFEFF;
}

// Takes UTF-8, and writes what is not visible as the bytes that it has in `encoding`.
std::string escapeText(std::string_view text, std::string_view also,
                       CFStringEncoding encoding = kCFStringEncodingUTF8) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        char32_t character = 0;
        const std::size_t length = tvposix::DecodeCodePoint(text, character);
        const std::string_view taken = text.substr(0, std::max<std::size_t>(length, 1));
        if (length > 0 && isVisible(character) && also.find(taken) == also.npos) {
            out.append(taken);
        } else {
            const auto converted = encoding != kCFStringEncodingUTF8
                                       ? ConvertText(taken, kCFStringEncodingUTF8, encoding)
                                       : std::nullopt;
            for (const char byte : converted ? std::string_view(*converted) : taken) {
                appendEscape(out, byte);
            }
        }
        text.remove_prefix(taken.size());
    }
    return out;
}

// Takes what stands before the next backslash from the front of `rest`, and appends it to `out` in
// the system encoding. Returns false and sets `what` at what cannot be taken.
bool takePlain(std::string_view& rest, std::string& out, std::string& what) {
    const std::string_view plain = rest.substr(0, rest.find('\\'));
    const CFStringEncoding system = CFStringGetSystemEncoding();
    const auto bytes = system != kCFStringEncodingUTF8
                           ? ConvertText(plain, kCFStringEncodingUTF8, system)
                           : std::string(plain);
    if (bytes) {
        out += *bytes;
        rest.remove_prefix(plain.size());
        return true;
    }
    while (true) {
        char32_t ignored = 0;
        const std::size_t length = tvposix::DecodeCodePoint(rest, ignored);
        const std::string_view one = rest.substr(0, length);
        if (length == 0 || !ConvertText(one, kCFStringEncodingUTF8, system)) {
            what = length == 0 ? "a byte that is no UTF-8; write it as \\xHH"
                               : "a character that the system encoding does not have; "
                                 "TV_SYSTEM_ENCODING names another";
            return false;
        }
        rest.remove_prefix(length);
    }
}

// Takes one escape from the front of `rest`, which begins with the backslash. Returns false and
// sets `what` if there is none.
bool takeEscape(std::string_view& rest, char& c, std::string& what) {
    const std::size_t letter = rest.size() > 1 ? cLetters.find(rest[1]) : cLetters.npos;
    if (letter != cLetters.npos) {
        c = cShortForms[letter];
        rest.remove_prefix(2);
        return true;
    }
    if (!rest.substr(1).starts_with('x') || !ParseHexByte(rest.substr(2), c)) {
        what =
            "a backslash begins \\n, \\r, \\t, \\\\ or \\xHH; write \\\\ for the backslash itself";
        return false;
    }
    rest.remove_prefix(4);
    if (c == '\0') {
        what = "\\x00 cannot stand in a text";
    }
    return c != '\0';
}

}  // namespace

std::string Escape(std::string_view text, std::string_view also) {
    return escapeText(text, std::string("\\").append(also));
}

std::string EscapeSystem(std::string_view text, std::string_view also) {
    const CFStringEncoding system = CFStringGetSystemEncoding();
    if (system == kCFStringEncodingUTF8) {
        return Escape(text, also);
    }
    const auto converted = ConvertText(text, system, kCFStringEncodingUTF8);
    std::string escaped =
        converted ? escapeText(*converted, std::string("\\").append(also), system) : "";
    // Some encodings have two forms of a character.
    std::string back;
    EscapeFault fault;
    if (converted && Unescape(escaped, back, fault) && back == text) {
        return escaped;
    }
    escaped.clear();
    for (const char& byte : text) {
        escaped += Escape({&byte, 1}, also);
    }
    return escaped;
}

std::string Printable(std::string_view text) {
    return escapeText(text, {});
}

std::string Quote(std::string_view text, CFStringEncoding encoding) {
    return "\"" +
           (encoding == kCFStringEncodingUTF8 ? Escape(text, "\"") : EscapeSystem(text, "\"")) +
           "\"";
}

bool Unescape(std::string_view text, std::string& out, EscapeFault& fault) {
    out.clear();
    for (std::string_view rest = text; !rest.empty();) {
        const bool isPlain = takePlain(rest, out, fault.what);
        fault.offset = text.size() - rest.size();
        if (!isPlain) {
            return false;
        }
        if (rest.empty()) {
            break;
        }
        char c = '\0';
        if (!takeEscape(rest, c, fault.what)) {
            return false;
        }
        out += c;
    }
    return true;
}

bool ParseHexByte(std::string_view text, char& byte) {
    unsigned char parsed = 0;
    const std::string_view digits = text.substr(0, 2);
    const bool isByte =
        digits.size() == 2 &&
        std::from_chars(digits.begin(), digits.end(), parsed, 16).ptr == digits.end();
    if (isByte) {
        byte = static_cast<char>(parsed);
    }
    return isByte;
}

Place PlaceOf(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    Place place;
    place.line += static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    const std::string_view line = before.substr(before.rfind('\n') + 1);
    for (std::size_t at = 0; at < line.size(); ++place.column) {
        char32_t ignored = 0;
        at += std::max<std::size_t>(tvposix::DecodeCodePoint(line.substr(at), ignored), 1);
    }
    return place;
}

std::string At(const std::string& name, Place place) {
    return name + ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
}

}  // namespace tvtool
