#include "tvtool/config/Placeholders.h"

namespace tvtool {

namespace {

bool isBlank(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\r';
}

bool looksLikeName(std::u16string_view name) {
    return !name.empty() && !isBlank(name.front()) && !isBlank(name.back()) &&
           name.find_first_of(u"\n\r") == name.npos;
}

}  // namespace

std::vector<Placeholder> FindPlaceholders(std::u16string_view text, char16_t open, char16_t close,
                                          const Tova::WideVars& vars) {
    std::vector<Placeholder> all;
    std::size_t start = text.npos;  // of the last opening delimiter that is not closed yet
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isOpen = text[at] == open;
        if (text[at] == close && start != text.npos) {
            const std::u16string_view name = text.substr(start + 1, at - start - 1);
            const bool isDefined = vars.Find(name) != nullptr;
            if (isDefined || looksLikeName(name)) {
                all.push_back({name, start, isDefined});
                start = text.npos;
            } else {
                start = isOpen ? at : text.npos;
            }
        } else if (isOpen) {
            start = at;
        }
    }
    return all;
}

void Advance(Place& place, std::u16string_view passed) {
    for (const char16_t c : passed) {
        if (c == u'\n') {
            ++place.line;
            place.column = 1;
        } else if (c < 0xDC00 || c > 0xDFFF) {
            ++place.column;
        }
    }
}

Place PlaceOf(std::u16string_view text, std::size_t offset) {
    Place place;
    Advance(place, text.substr(0, offset));
    return place;
}

}  // namespace tvtool
