// Helpers on NUL-terminated 8-bit strings. Case and white space are those of Ch.h. Nothing here
// locks; only the one-argument ToWStr allocates. Any thread, as long as nobody writes the texts
// meanwhile.
#pragma once

#include <cstdint>

namespace Tova {

// The number of units in front of the first zero unit.
std::int64_t nwi_wcslen(const wchar_t* s);

namespace Str {

// Compares at most n bytes without regard to case; a negative n compares whole strings. The result
// is the difference of the folded bytes, taken as unsigned, where the scan stopped: at the first
// difference, at the end of both, or after n bytes.
int ICompare(const char* a, const char* b, int n);

// The first place where `needle` stands in `haystack` without regard to case, or null. An empty
// needle stands at the front. Quadratic in the worst case: for short texts.
const char* IFind(const char* haystack, const char* needle);

// The first byte that is not white space, the NUL at the latest.
const char* SkipWhite(const char* s);

// Overwrites trailing white space with NULs in place, and gives s back.
char* TrimWhite(char* s);

// Makes ASCII letters upper-case in place, and gives s back.
char* ToUpper(char* s);

// The room that ToString needs at most: a sign, 64 binary digits and the NUL (bytes).
inline constexpr int cMaxNumberText = 66;

// Writes the low 32 bits of `value`, taken as unsigned, in `radix` (2 to 36, not checked; digits
// above 9 are lower-case letters), and gives the buffer back. For a negative value in radix 10 "-"
// stands in front and the 64-bit negation of those 32 bits follows, so that -5 becomes
// "-18446744069414584325". Files hold texts made this way: do not mend it.
char* ToString(long value, char* buffer, unsigned radix);
// Writes all of `value`; `negative` puts "-" in front and writes its 64-bit negation.
char* ToString(unsigned long value, char* buffer, unsigned radix, bool negative);

// Formats as printf does, with no bound: `buffer` must hold whatever can result. Only for formats
// whose longest result is known, numbers above all; never for a text from outside.
[[gnu::format(printf, 2, 3)]] void Format(char* buffer, const char* format, ...);

// Writes s, read in the system encoding, as UTF-16 units that are packed two to a slot of `w`, and
// a zero slot at the index that equals their number; the result is nwi_wcslen(w). `w` must have
// one slot more than there are units: `capacity` is ignored. Slots in between are left alone. For
// a text that is not valid in the encoding nothing is written and the result is 0.
int ToWStr(const char* s, wchar_t* w, int capacity);
// The same into a new zeroed array of at least strlen(s) + 1 slots, which the caller frees with
// delete[]. Throws std::bad_alloc.
wchar_t* ToWStr(const char* s);

}  // namespace Str
}  // namespace Tova
