// Comparing strings and finding one in another, unit by unit.
#include "corefoundation/string/String.h"

#include <limits>
#include <vector>

namespace tvplatform {

namespace {

// Looks for a pattern, which must not be empty. It never goes back in the text: what was matched of
// the pattern tells how much of it still is.
class Finder {
public:
    explicit Finder(std::u16string_view pattern) : pattern_(pattern), fallback_(pattern.size(), 0) {
        for (size_t i = 1, matched = 0; i < pattern_.size(); ++i) {
            matched = Advance(matched, pattern_[i]);
            fallback_[i] = matched;
        }
    }

    // Returns the first place at or after `from`, or npos.
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

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags) {
    // An absent text comes before every other.
    const auto left = TextOf(a);
    const auto right = TextOf(b);
    return left < right   ? kCFCompareLessThan
           : left > right ? kCFCompareGreaterThan
                          : kCFCompareEqualTo;
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

CFRange CFStringFind(CFStringRef string, CFStringRef toFind, CFStringCompareFlags) {
    const auto text = TextOf(string);
    const auto pattern = TextOf(toFind);
    const size_t place = text && pattern && !pattern->empty() && pattern->size() <= text->size()
                             ? Finder(*pattern).Find(*text, 0)
                             : std::u16string_view::npos;
    if (place == std::u16string_view::npos) {
        return {kCFNotFound, 0};
    }
    return {static_cast<CFIndex>(place), static_cast<CFIndex>(pattern->size())};
}

CFIndex CFStringFindAndReplace(CFMutableStringRef string, CFStringRef toFind,
                               CFStringRef replacement, CFRange range, CFStringCompareFlags) {
    String* target = AsMutable<String>(string);
    const auto pattern = TextOf(toFind);
    const auto inserted = TextOf(replacement);
    if (target == nullptr || !pattern || pattern->empty() || !inserted ||
        !LiesIn(range, target->Text().size()) ||
        pattern->size() > static_cast<size_t>(range.length)) {
        return 0;
    }
    const Finder finder(*pattern);
    const std::u16string_view text = target->Text().substr(
        0, static_cast<size_t>(range.location) + static_cast<size_t>(range.length));
    std::u16string result;
    size_t copied = 0;
    CFIndex count = 0;
    for (size_t place = static_cast<size_t>(range.location);
         (place = finder.Find(text, place)) != std::u16string_view::npos;
         copied = place += pattern->size(), ++count) {
        result.append(text, copied, place - copied).append(*inserted);
    }
    if (count > 0) {
        result.append(target->Text(), copied);
        target->MutableText() = std::move(result);
    }
    return count;
}
