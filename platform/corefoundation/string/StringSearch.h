// Comparing texts and finding one in another, unit by unit. Any thread.
#pragma once

#include <CoreFoundation/CFString.h>

#include <string_view>
#include <vector>

namespace tvplatform {

int CompareTexts(std::u16string_view a, std::u16string_view b, CFStringCompareFlags options);

// Where `pattern` stands in `text`, in rising order: places that do not overlap, looked for from
// the start, or with kCFCompareBackwards from the end; `most` of them at the most. None for an
// empty pattern. Takes time in proportion to the two lengths, however much the texts repeat
// themselves.
std::vector<size_t> FindPlaces(std::u16string_view text, std::u16string_view pattern,
                               CFStringCompareFlags options, size_t most);

}  // namespace tvplatform
