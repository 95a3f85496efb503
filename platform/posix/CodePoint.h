// One character of UTF-8, strictly: no overlong form, no surrogate, nothing above U+10FFFF. Any
// thread may call this.
#pragma once

#include <cstddef>
#include <string_view>

namespace tvposix {

// Returns the length in bytes of the character at the start of `text`, and stores it in
// `character`. Returns 0 if none is there.
std::size_t DecodeCodePoint(std::string_view text, char32_t& character);

}  // namespace tvposix
