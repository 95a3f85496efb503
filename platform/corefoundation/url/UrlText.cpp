#include "corefoundation/url/UrlText.h"

#include "corefoundation/url/AsciiSet.h"
#include "corefoundation/url/PercentEscapes.h"

#include <algorithm>
#include <utility>

namespace tvplatform {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isEscape(std::string_view text) {
    return text.size() == 3 && text[0] == '%' &&
           EscapedByte(static_cast<char16_t>(text[1]), static_cast<char16_t>(text[2])) >= 0;
}

// Besides the characters there may be well-formed escapes.
bool isMadeOf(std::string_view text, const AsciiSet& characters) {
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '%') {
            if (!isEscape(text.substr(at, 3))) {
                return false;
            }
            at += 2;
        } else if (!characters.Has(text[at])) {
            return false;
        }
    }
    return true;
}

constexpr AsciiSet cSchemeCharacters = cLettersAndDigits | AsciiSet("+-.");
constexpr AsciiSet cNameCharacters = cLettersAndDigits | AsciiSet("-._~!$&'()*+,;=");
constexpr AsciiSet cUserCharacters = cNameCharacters | AsciiSet(":");
constexpr AsciiSet cPathCharacters = cUserCharacters | AsciiSet("@/");
constexpr AsciiSet cQueryCharacters = cPathCharacters | AsciiSet("?");

bool isScheme(std::string_view text) {
    return !text.empty() && cLetters.Has(text.front()) &&
           std::all_of(text.begin(), text.end(), [](char c) { return cSchemeCharacters.Has(c); });
}

// Cuts off and returns what stands before the first of `marks`, or everything.
std::string_view takeUntil(std::string_view& text, const AsciiSet& marks) {
    const std::string_view taken = text.substr(0, marks.FindIn(text));
    text.remove_prefix(taken.size());
    return taken;
}

// Takes off the part behind `mark`, up to the first of `ends`. Returns nothing if the text does not
// begin with `mark`.
std::optional<std::string_view> takeMarked(std::string_view& text, char mark,
                                           const AsciiSet& ends) {
    if (text.empty() || text.front() != mark) {
        return std::nullopt;
    }
    text.remove_prefix(1);
    return takeUntil(text, ends);
}

bool isAuthority(std::string_view text) {
    if (const size_t at = text.find('@'); at != std::string_view::npos) {
        if (!isMadeOf(text.substr(0, at), cUserCharacters)) {
            return false;
        }
        text.remove_prefix(at + 1);
    }
    if (text.starts_with('[')) {
        const size_t end = text.find(']');
        if (end == std::string_view::npos || end == 1) {
            return false;
        }
        const std::string_view address = text.substr(1, end - 1);
        text.remove_prefix(end + 1);
        if (address.find('%') != std::string_view::npos || !isMadeOf(address, cUserCharacters) ||
            (!text.empty() && text.front() != ':')) {
            return false;
        }
    } else if (!isMadeOf(takeUntil(text, AsciiSet(":")), cNameCharacters)) {
        return false;
    }
    // The port, behind its colon.
    return text.empty() || std::all_of(text.begin() + 1, text.end(), isDigit);
}

bool equalsWithoutCase(std::string_view text, std::string_view lower) {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
    });
}

}  // namespace

bool UrlParts::IsFile() const {
    return !scheme ||
           (equalsWithoutCase(*scheme, "file") &&
            (!authority || authority->empty() || equalsWithoutCase(*authority, "localhost")));
}

std::optional<UrlParts> ParseUrl(std::string_view text) {
    UrlParts parts;
    const size_t mark = AsciiSet(":/?#").FindIn(text);
    if (mark < text.size() && text[mark] == ':') {
        parts.scheme = text.substr(0, mark);
        if (!isScheme(*parts.scheme)) {
            return std::nullopt;
        }
        text.remove_prefix(mark + 1);
    }
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        parts.authority = takeUntil(text, AsciiSet("/?#"));
        if (!isAuthority(*parts.authority)) {
            return std::nullopt;
        }
    }
    parts.path = takeUntil(text, AsciiSet("?#"));
    parts.query = takeMarked(text, '?', AsciiSet("#"));
    parts.fragment = takeMarked(text, '#', AsciiSet(""));
    const bool valid = isMadeOf(parts.path, cPathCharacters) &&
                       isMadeOf(parts.query.value_or(""), cQueryCharacters) &&
                       isMadeOf(parts.fragment.value_or(""), cQueryCharacters);
    return valid ? std::optional(parts) : std::nullopt;
}

std::string ComposeUrl(const UrlParts& parts, std::string_view path) {
    std::string text;
    const auto append = [&text](std::string_view before, std::optional<std::string_view> part,
                                std::string_view behind) {
        if (part) {
            text.append(before).append(*part).append(behind);
        }
    };
    append("", parts.scheme, ":");
    append("//", parts.authority, "");
    if (!parts.authority && path.starts_with("//")) {
        text += "/.";  // or the path would look like a host
    } else if (text.empty() && path.substr(0, path.find('/')).find(':') != std::string_view::npos) {
        text += "./";  // or its first component would look like a scheme
    }
    text += path;
    append("?", parts.query, "");
    append("#", parts.fragment, "");
    return text;
}

std::string JoinFilePath(std::string folder, std::string_view path) {
    for (;;) {
        std::string_view rest = path;
        const std::string_view component = takeUntil(rest, AsciiSet("/"));
        if (component == ".." && folder.size() > 1) {
            folder.resize(folder.rfind('/', folder.size() - 2) + 1);
        } else if (!IsDots(component)) {
            return folder.append(path);
        }
        path = rest.substr(rest.empty() ? 0 : 1);
    }
}

}  // namespace tvplatform
