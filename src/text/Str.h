// Helpers on NUL-terminated 8-bit strings. Case and white space are those of Ch.h. Only the
// one-argument ToWStr allocates. Any thread may call these functions while no thread writes the
// texts.
#pragma once

#include <cstdint>

namespace Tova {

// Returns the number of units before the first zero unit.
std::int64_t nwi_wcslen(const wchar_t* s);

namespace Str {

// Compares at most n bytes without regard to case; a negative n compares whole strings. The scan
// stops at the first difference, at the end of both strings, or after n bytes. Returns the
// difference of the folded bytes there, taken as unsigned.
int ICompare(const char* a, const char* b, int n);

// Returns the first place of `needle` in `haystack` without regard to case, or null. An empty
// needle is found at the front. The worst case is quadratic, so use it for short texts.
const char* IFind(const char* haystack, const char* needle);

// Returns the first byte that is not white space; this may be the NUL.
const char* SkipWhite(const char* s);

// Overwrites trailing white space with NULs in place. Returns s.
char* TrimWhite(char* s);

// Makes ASCII letters upper-case in place. Returns s.
char* ToUpper(char* s);

// The most bytes that ToString writes: a sign, 64 binary digits and the NUL.
inline constexpr int cMaxNumberText = 66;

// Writes the low 32 bits of `value`, taken as unsigned, in `radix` (2 to 36, not checked). Digits
// above 9 are lower-case letters. Returns the buffer.
// Deliberate: only 32 bits count, and a negative value in radix 10 becomes "-" and the 64-bit
// negation of these 32 bits, so that -5 becomes "-18446744069414584325". Files hold texts made this
// way.
char* ToString(long value, char* buffer, unsigned radix);
// Writes all 64 bits of `value`. If `negative`, writes "-" and the 64-bit negation of `value`.
char* ToString(unsigned long value, char* buffer, unsigned radix, bool negative);

// Formats as printf does, without a bound: `buffer` must have room for the longest result. Use it
// for numbers, never for a text from outside.
[[gnu::format(printf, 2, 3)]] void Format(char* buffer, const char* format, ...);

// Converts s from the system encoding to UTF-16 units. Writes the units two to a slot of `w`, and a
// zero slot at the index that equals their number; leaves the slots between unchanged. Returns
// nwi_wcslen(w). `w` must have one slot more than there are units; `capacity` has no effect. Writes
// nothing and returns 0 if s is not valid in the encoding.
// Deliberate: Ch::ToWChar and other callers read the packed units.
int ToWStr(const char* s, wchar_t* w, int capacity);
// Converts likewise into a new zeroed array of at least strlen(s) + 1 slots. The caller frees it
// with delete[]. Throws std::bad_alloc.
wchar_t* ToWStr(const char* s);

}  // namespace Str
}  // namespace Tova
