#include "text/Ch.h"

#include "text/Str.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstring>

namespace Tova::Ch {

wchar_t ToWChar(char c) {
    if (static_cast<signed char>(c) >= 0) {
        return static_cast<wchar_t>(c);
    }
    // Some encodings make several units of one byte, and a zero slot follows the units.
    constexpr int cSlots = 8;
    wchar_t slots[cSlots] = {};
    const char text[] = {c, '\0'};
    Str::ToWStr(text, slots, cSlots);
    UniChar first = 0;
    std::memcpy(&first, slots, sizeof first);
    return static_cast<wchar_t>(first);
}

}  // namespace Tova::Ch
