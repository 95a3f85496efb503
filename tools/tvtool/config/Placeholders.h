// Placeholders in a text, and places in UTF-16 texts. Any thread.
#pragma once

#include "tvtool/base/Escapes.h"
#include "vars/WideVars.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace tvtool {

// A name between the delimiters that looks like a placeholder. A name that no variable has counts
// only if it is not empty, has no blank at its ends, and lies in one line.
struct Placeholder {
    std::u16string_view name;
    std::size_t offset;  // the index of its opening delimiter
    bool isDefined;      // some variable has the name
};

// The placeholders in `text`, in its order. Their names point into `text`.
std::vector<Placeholder> FindPlaceholders(std::u16string_view text, char16_t open, char16_t close,
                                          const Tova::WideVars& vars);

// Moves `place` over a piece of text.
void Advance(Place& place, std::u16string_view passed);
Place PlaceOf(std::u16string_view text, std::size_t offset);

}  // namespace tvtool
