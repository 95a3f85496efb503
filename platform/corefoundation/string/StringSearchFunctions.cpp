// Comparing strings and finding one in another, unit by unit.
#include "corefoundation/string/String.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace tvplatform {

namespace {

// Capital letters, each `step` from the last, and how far their small letters are away.
struct Capitals {
    char16_t first;
    char16_t last;
    char16_t step;
    int distance;
};
constexpr Capitals cCapitals[] = {
    {0x0041, 0x005A, 1, 32}, {0x00B5, 0x00B5, 1, 775},  {0x00C0, 0x00D6, 1, 32},
    {0x00D8, 0x00DE, 1, 32}, {0x0100, 0x012E, 2, 1},    {0x0132, 0x0136, 2, 1},
    {0x0139, 0x0147, 2, 1},  {0x014A, 0x0176, 2, 1},    {0x0178, 0x0178, 1, -121},
    {0x0179, 0x017D, 2, 1},  {0x017F, 0x017F, 1, -268}, {0x0386, 0x0386, 1, 38},
    {0x0388, 0x038A, 1, 37}, {0x038C, 0x038C, 1, 64},   {0x038E, 0x038F, 1, 63},
    {0x0391, 0x03A1, 1, 32}, {0x03A3, 0x03AB, 1, 32},   {0x03C2, 0x03C2, 1, 1},
    {0x0400, 0x040F, 1, 80}, {0x0410, 0x042F, 1, 32},   {0x0460, 0x0480, 2, 1},
    {0x048A, 0x04BE, 2, 1},  {0x04C0, 0x04C0, 1, 15},   {0x04C1, 0x04CD, 2, 1},
    {0x04D0, 0x052E, 2, 1},
};

char16_t Fold(char16_t unit) {
    for (const Capitals& range : cCapitals) {
        if (unit < range.first) {
            break;
        }
        if (unit <= range.last) {
            return (unit - range.first) % range.step == 0
                       ? static_cast<char16_t>(unit + range.distance)
                       : unit;
        }
    }
    return unit;
}

bool folds(CFStringCompareFlags options) {
    return (options & kCFCompareCaseInsensitive) != 0;
}
bool goesBackwards(CFStringCompareFlags options) {
    return (options & kCFCompareBackwards) != 0;
}

// A text as it is to be searched: without case and turned round, as the options say. Copies only
// when it has to.
class Prepared {
public:
    Prepared(std::u16string_view text, CFStringCompareFlags options) : view_(text) {
        if (!folds(options) && !goesBackwards(options)) {
            return;
        }
        copy_ = text;
        if (folds(options)) {
            std::transform(copy_.begin(), copy_.end(), copy_.begin(), Fold);
        }
        if (goesBackwards(options)) {
            std::reverse(copy_.begin(), copy_.end());
        }
        view_ = copy_;
    }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    std::u16string_view View() const { return view_; }

private:
    std::u16string copy_;
    std::u16string_view view_;
};

// Never goes back in the text: what was matched of the pattern tells how much of it still is.
class Finder {
public:
    explicit Finder(std::u16string_view pattern) : pattern_(pattern), fallback_(pattern.size(), 0) {
        for (size_t i = 1, matched = 0; i < pattern_.size(); ++i) {
            matched = Advance(matched, pattern_[i]);
            fallback_[i] = matched;
        }
    }

    // The first place at or after `from`, or npos.
    size_t Find(std::u16string_view text, size_t from) const {
        size_t matched = 0;
        for (size_t i = from; i < text.size(); ++i) {
            if (matched == 0) {
                i = text.find(pattern_[0], i);
                if (i == std::u16string_view::npos) {
                    break;
                }
            }
            matched = Advance(matched, text[i]);
            if (matched == pattern_.size()) {
                return i + 1 - matched;
            }
        }
        return std::u16string_view::npos;
    }

private:
    // How much of the pattern is matched once `unit` follows what was.
    size_t Advance(size_t matched, char16_t unit) const {
        while (matched > 0 && pattern_[matched] != unit) {
            matched = fallback_[matched - 1];
        }
        return pattern_[matched] == unit ? matched + 1 : 0;
    }

    std::u16string_view pattern_;
    std::vector<size_t> fallback_;
};

std::vector<size_t> findPrepared(std::u16string_view text, std::u16string_view pattern,
                                 bool anchored, size_t most) {
    if (anchored) {
        return text.starts_with(pattern) && most > 0 ? std::vector<size_t>{0}
                                                     : std::vector<size_t>();
    }
    std::vector<size_t> places;
    const Finder finder(pattern);
    for (size_t place = 0; places.size() < most; place += pattern.size()) {
        place = finder.Find(text, place);
        if (place == std::u16string_view::npos) {
            break;
        }
        places.push_back(place);
    }
    return places;
}

// The text of a string that may be changed; null for any other.
std::u16string* editable(CFMutableStringRef string) {
    String* object = As<String>(string);
    return object != nullptr ? object->MutableText() : nullptr;
}

int compareTexts(std::u16string_view a, std::u16string_view b, CFStringCompareFlags options) {
    if (!folds(options)) {
        return a.compare(b);
    }
    const auto [left, right] =
        std::mismatch(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return Fold(x) == Fold(y); });
    const int first = left != a.end() ? Fold(*left) : -1;
    const int second = right != b.end() ? Fold(*right) : -1;
    return first - second;
}

std::vector<size_t> findPlaces(std::u16string_view text, std::u16string_view pattern,
                               CFStringCompareFlags options, size_t most) {
    if (pattern.empty() || pattern.size() > text.size()) {
        return {};
    }
    auto places = findPrepared(Prepared(text, options).View(), Prepared(pattern, options).View(),
                               (options & kCFCompareAnchored) != 0, most);
    if (goesBackwards(options)) {
        for (size_t& place : places) {
            place = text.size() - pattern.size() - place;
        }
        std::reverse(places.begin(), places.end());
    }
    return places;
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags options) {
    const auto left = TextOf(a);
    const auto right = TextOf(b);
    // What is no string comes before every string.
    const int order = left && right ? compareTexts(*left, *right, options)
                                    : static_cast<int>(left.has_value()) - right.has_value();
    return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

Boolean CFStringHasPrefix(CFStringRef string, CFStringRef prefix) {
    const auto text = TextOf(string);
    const auto part = TextOf(prefix);
    return text && part && text->starts_with(*part);
}

Boolean CFStringHasSuffix(CFStringRef string, CFStringRef suffix) {
    const auto text = TextOf(string);
    const auto part = TextOf(suffix);
    return text && part && text->ends_with(*part);
}

Boolean CFStringFindWithOptions(CFStringRef string, CFStringRef toFind, CFRange range,
                                CFStringCompareFlags options, CFRange* result) {
    const auto text = TextOf(string);
    const auto pattern = TextOf(toFind);
    if (!text || !pattern || !LiesIn(range, text->size())) {
        return false;
    }
    const auto places = findPlaces(Part(*text, range), *pattern, options, 1);
    if (places.empty()) {
        return false;
    }
    if (result != nullptr) {
        *result = {range.location + static_cast<CFIndex>(places[0]),
                   static_cast<CFIndex>(pattern->size())};
    }
    return true;
}

CFRange CFStringFind(CFStringRef string, CFStringRef toFind, CFStringCompareFlags options) {
    CFRange found = {kCFNotFound, 0};
    CFStringFindWithOptions(string, toFind, {0, CFStringGetLength(string)}, options, &found);
    return found;
}

CFIndex CFStringFindAndReplace(CFMutableStringRef string, CFStringRef toFind,
                               CFStringRef replacement, CFRange range,
                               CFStringCompareFlags options) {
    std::u16string* target = editable(string);
    const auto pattern = TextOf(toFind);
    const auto inserted = TextOf(replacement);
    if (target == nullptr || !pattern || !inserted || !LiesIn(range, target->size())) {
        return 0;
    }
    const auto places =
        findPlaces(Part(*target, range), *pattern, options, std::numeric_limits<size_t>::max());
    if (places.empty()) {
        return 0;
    }
    std::u16string result;
    size_t copied = 0;
    for (const size_t place : places) {
        const size_t start = static_cast<size_t>(range.location) + place;
        result.append(*target, copied, start - copied).append(*inserted);
        copied = start + pattern->size();
    }
    result.append(*target, copied);
    *target = std::move(result);
    return static_cast<CFIndex>(places.size());
}
