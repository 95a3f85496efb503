#include "tvtool/base/Escapes.h"

#include <algorithm>

namespace tvtool {

namespace {

constexpr char cHexDigits[] = "0123456789ABCDEF";

unsigned char Byte(char c) {
    return static_cast<unsigned char>(c);
}

void appendHex(std::string& out, char c) {
    out += "\\x";
    out += cHexDigits[Byte(c) >> 4];
    out += cHexDigits[Byte(c) & 15];
}

void AppendEscape(std::string& out, char c) {
    switch (c) {
    case '\n':
        out += "\\n";
        break;
    case '\r':
        out += "\\r";
        break;
    case '\t':
        out += "\\t";
        break;
    case '\\':
        out += "\\\\";
        break;
    default:
        appendHex(out, c);
    }
}

bool isInvisible(char32_t c) {
    return (c >= 0x80 && c < 0xA0) || c == 0x2028 || c == 0x2029 || c == 0xFEFF;
}

// How many plain ASCII characters `text` begins with.
std::size_t countPlain(std::string_view text, std::string_view also) {
    const auto end = std::find_if(text.begin(), text.end(), [also](char c) {
        return c < 0x20 || c > 0x7E || also.find(c) != also.npos;
    });
    return static_cast<std::size_t>(end - text.begin());
}

std::string escapeText(std::string_view text, std::string_view also) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0;;) {
        const std::size_t plain = countPlain(text.substr(at), also);
        out.append(text.substr(at, plain));
        at += plain;
        if (at == text.size()) {
            return out;
        }
        char32_t character = 0;
        const std::size_t length = DecodeUtf8(text.substr(at), character);
        const std::size_t taken = std::max<std::size_t>(length, 1);
        if (length == 0 || isInvisible(character)) {
            for (const char byte : text.substr(at, taken)) {
                appendHex(out, byte);
            }
        } else if (length == 1) {
            AppendEscape(out, text[at]);
        } else {
            out.append(text.substr(at, length));
        }
        at += taken;
    }
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Takes one escape from the front of `rest`, which begins with the backslash. False, with the
// reason, when it is none.
bool takeEscape(std::string_view& rest, char& c, std::string& what) {
    static constexpr std::string_view cLetters = "nrt\\";
    const std::size_t letter = rest.size() > 1 ? cLetters.find(rest[1]) : cLetters.npos;
    if (letter != cLetters.npos) {
        c = "\n\r\t\\"[letter];
        rest.remove_prefix(2);
        return true;
    }
    const bool isHex =
        rest.size() >= 4 && rest[1] == 'x' && hexDigit(rest[2]) >= 0 && hexDigit(rest[3]) >= 0;
    if (!isHex) {
        what =
            "a backslash begins \\n, \\r, \\t, \\\\ or \\xHH; write \\\\ for the backslash itself";
        return false;
    }
    c = static_cast<char>(hexDigit(rest[2]) * 16 + hexDigit(rest[3]));
    rest.remove_prefix(4);
    if (c == '\0') {
        what = "\\x00 cannot stand in a text";
    }
    return c != '\0';
}

}  // namespace

std::string Escape(std::string_view text, std::string_view also) {
    std::string all = "\\";
    return escapeText(text, all.append(also));
}

std::string Printable(std::string_view text) {
    return escapeText(text, {});
}

std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    return quoted.append(Escape(text, "\"")).append("\"");
}

bool Unescape(std::string_view text, std::string& out, EscapeFault& fault) {
    out.clear();
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t plain = std::min(rest.find('\\'), rest.size());
        out.append(rest.substr(0, plain));
        rest.remove_prefix(plain);
        if (rest.empty()) {
            break;
        }
        fault.offset = text.size() - rest.size();
        char c = '\0';
        if (!takeEscape(rest, c, fault.what)) {
            return false;
        }
        out += c;
    }
    return true;
}

std::size_t DecodeUtf8(std::string_view text, char32_t& character) {
    if (text.empty()) {
        return 0;
    }
    const unsigned char lead = Byte(text[0]);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < length) {
        return 0;
    }
    character = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text[i]) & 0xC0) != 0x80) {
            return 0;
        }
        character = character << 6 | (Byte(text[i]) & 0x3FU);
    }
    const bool isTooShort =
        (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return isTooShort || isSurrogate || character > 0x10FFFF ? 0 : length;
}

Place PlaceOf(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    Place place;
    place.line += static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    const std::string_view line = before.substr(before.rfind('\n') + 1);
    for (std::size_t at = 0; at < line.size(); ++place.column) {
        char32_t ignored = 0;
        at += std::max<std::size_t>(DecodeUtf8(line.substr(at), ignored), 1);
    }
    return place;
}

std::string At(const std::string& name, Place place) {
    return name + ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
}

}  // namespace tvtool
