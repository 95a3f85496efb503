#include "tvtool/registry/RegistryWarnings.h"

#include "registry/RegParser.h"
#include "tvtool/base/Escapes.h"

#include <algorithm>
#include <cctype>

namespace tvtool {

namespace {

constexpr std::size_t cMost = 20;
constexpr std::string_view cHeader = Tova::RegParser::cNWRegKey;
constexpr std::string_view cWhite = " \t\v\f";

// Returns the letters and digits of a text, in lower case.
std::string lettersOf(std::string_view text) {
    std::string letters;
    for (const char c : text) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return letters;
}

// Says why a line of the sectioned format has no effect, or returns "".
std::string reasonToSkip(std::string_view line, bool hasSection) {
    line.remove_prefix(std::min(line.find_first_not_of(cWhite), line.size()));
    if (line.empty() || line.front() == ';') {
        return {};
    }
    if (line.front() == '[') {
        return line.find(']') == line.npos ? "a section without its \"]\" is skipped" : "";
    }
    if (line.find('=') == line.npos) {
        return "a line that is no comment, section or value is skipped";
    }
    return hasSection ? "" : "a value before the first section is skipped";
}

bool beginsSection(std::string_view line) {
    const std::size_t start = line.find_first_not_of(cWhite);
    return start != line.npos && line[start] == '[' && line.find(']', start) != line.npos;
}

}  // namespace

std::vector<std::string> WarningsOf(const RegistryFile& file) {
    std::vector<std::string> warnings;
    const auto warn = [&](std::size_t line, const std::string& what) {
        if (warnings.size() < cMost) {
            warnings.push_back(file.Name() + ":" + std::to_string(line) + ": " + what);
        }
    };
    const bool isSectioned = file.Format() == Tova::RegFormat::Sectioned;
    bool hasSection = false;
    std::size_t number = 0;
    for (std::string_view rest = file.Bytes(); !rest.empty();) {
        const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
        std::string_view line = rest.substr(0, end);
        const std::size_t start = file.Bytes().size() - rest.size();
        rest.remove_prefix(std::min(end + (rest.substr(end, 2) == "\r\n" ? 2 : 1), rest.size()));
        ++number;
        const std::size_t read = std::max(file.Size(), start) - start;
        if (const std::size_t extra = line.find_first_not_of(cWhite, read); extra != line.npos) {
            warn(number, "what follows from byte " + std::to_string(start + extra + 1) +
                             " on is behind the end of the registry, and is not read");
            break;
        }
        if (const std::size_t nul = line.find('\0'); nul != line.npos) {
            warn(number, "what follows the NUL in this line is skipped");
            line = line.substr(0, nul);
        }
        if (!isSectioned) {
            if (number == 1 && line.find_first_not_of(cWhite, cHeader.size()) != line.npos) {
                warn(number, "what follows " + Quote(cHeader) + " in this line is skipped");
            }
            continue;
        }
        if (number == 1 && lettersOf(line.substr(0, 40)).starts_with("nwreg")) {
            warn(number, "this is almost the first line of the current format, " + Quote(cHeader) +
                             ", but the file is read as sectioned");
        } else if (const std::string why = reasonToSkip(line, hasSection); !why.empty()) {
            warn(number, why);
        }
        hasSection = hasSection || beginsSection(line);
    }
    if (file.IsSound() && file.Tree().GetNode()->FirstChild() == nullptr) {
        warnings.push_back(file.Name() + ": nothing is found in this file");
    }
    return warnings;
}

}  // namespace tvtool
