#include "text/URI.h"

#include "text/CFRef.h"
#include "text/CString.h"

#include <CoreFoundation/CoreFoundation.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Tova {

namespace {

// What a byte becomes: the first `length` characters.
struct Piece {
    char text[3];
    std::uint8_t length;
};
using EscapeTable = std::array<Piece, 0x100>;

constexpr std::size_t indexOf(char c) {
    return static_cast<unsigned char>(c);
}

// Deliberate: the high nibble is that of a signed byte, so that the escape of a byte of 0x80 or
// more holds a NUL, which ends the text.
constexpr Piece escapeOf(char c) {
    const auto value = static_cast<signed char>(c);
    return {{'%', Ch::HexChar(value >> 4), Ch::HexChar(value & 15)}, 3};
}

constexpr EscapeTable makeTable(bool strict, bool form) {
    EscapeTable table{};
    for (int i = -0x80; i < 0x80; ++i) {
        const auto c = static_cast<char>(i);
        const bool kept = strict ? Ch::IsCommonUnreservedInURI(c) : Ch::IsLegalInURI(c);
        table[indexOf(c)] = kept ? Piece{{c}, 1} : escapeOf(c);
    }
    if (form) {
        table[indexOf(' ')] = {{'+'}, 1};
    }
    return table;
}

// Escaping of plain texts and of forms, by whether it is strict.
constexpr EscapeTable cPlainTables[] = {makeTable(false, false), makeTable(true, false)};
constexpr EscapeTable cFormTables[] = {makeTable(false, true), makeTable(true, true)};

// Makes the table in which each character of `from` becomes its counterpart in `to`, or the NUL if
// `to` is too short. Of equal characters the first counts.
void translate(EscapeTable& table, std::string_view from, std::string_view to) {
    for (std::size_t i = from.size(); i-- > 0;) {
        table[indexOf(from[i])] = {{i < to.size() ? to[i] : '\0'}, 1};
    }
}

// Writes the piece of c at `out`, where it may spoil four bytes, and returns the place after it.
char* writePiece(const EscapeTable& table, char c, char* out) {
    const Piece& piece = table[indexOf(c)];
    std::memcpy(out, &piece, sizeof piece);
    return out + piece.length;
}

#if defined(__SSE2__)
constexpr std::ptrdiff_t cBlock = 16;

void copyBlock(const char* from, char* to) {
    std::memcpy(to, from, cBlock);
}

// Returns a bit for each character of a block that is not unreserved, the lowest for the first.
unsigned findReserved(const char* block) {
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
    const auto within = [](__m128i v, char first, char last) {
        return _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8(static_cast<char>(first - 1))),
                             _mm_cmplt_epi8(v, _mm_set1_epi8(static_cast<char>(last + 1))));
    };
    const __m128i letters = within(_mm_or_si128(c, _mm_set1_epi8(0x20)), 'a', 'z');
    const __m128i signs = _mm_or_si128(within(c, '-', '.'), _mm_cmpeq_epi8(c, _mm_set1_epi8('_')));
    const __m128i kept = _mm_or_si128(_mm_or_si128(letters, signs), within(c, '0', '9'));
    return static_cast<unsigned>(_mm_movemask_epi8(kept)) ^ 0xFFFFU;
}

// Escapes blocks of characters for as long as it can, with a table that keeps the unreserved ones,
// and moves `in` and `out` on. A text that needs no escapes is copied as fast as it can be read.
void escapeBlocks(const EscapeTable& table, const char*& in, const char* end, char*& out) {
    const std::ptrdiff_t size = end - in;
    for (; end - in >= cBlock; in += cBlock) {
        unsigned reserved = findReserved(in);
        // What stands behind a reserved character is copied as a block too.
        if (reserved != 0 && end - in < 2 * cBlock) {
            return;
        }
        copyBlock(in, out);
        int done = 0;
        for (; reserved != 0; reserved &= reserved - 1) {
            const int at = std::countr_zero(reserved);
            out = writePiece(table, in[at], out + (at - done));
            done = at + 1;
            copyBlock(in + done, out);
        }
        out += cBlock - done;
    }
    // The last block overlaps what is done, which stands unchanged in the result.
    const std::ptrdiff_t rest = end - in;
    if (size >= cBlock && findReserved(end - cBlock) == 0) {
        copyBlock(end - cBlock, out + rest - cBlock);
        in += rest;
        out += rest;
    }
}
#else
void escapeBlocks(const EscapeTable&, const char*&, const char*, char*&) {}
#endif

// Copies a "%" and the two bytes behind it without a check. Returns the place after them in `in`.
const char* copyEscape(const char* in, char*& out) {
    constexpr int cEscapeLength = 3;
    for (int i = 0; i < cEscapeLength && *in != '\0'; ++i) {
        *out++ = *in++;
    }
    return in;
}

// Decodes every escape in `source` and escapes again what needs it. Returns null if `source` cannot
// be read.
CFRef<CFStringRef> normaliseEscapes(const char* source) {
    const CFRef<CFStringRef> text(
        CFStringCreateWithCString(kCFAllocatorDefault, source, CFStringGetSystemEncoding()));
    const CFRef<CFStringRef> none(
        CFStringCreateWithCString(kCFAllocatorDefault, "", kCFStringEncodingUTF8));
    const CFRef<CFStringRef> plain(CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
        kCFAllocatorDefault, text.Get(), none.Get(), kCFStringEncodingUTF8));
    return CFRef<CFStringRef>(CFURLCreateStringByAddingPercentEscapes(
        kCFAllocatorDefault, plain.Get(), nullptr, nullptr, kCFStringEncodingUTF8));
}

}  // namespace

// The members of CString that escape.

template <>
void CString::ToURIEscapedString(const char* source, Ch::URIComponent /*component*/,
                                 Ch::URIEncodeLevel level, Ch::URIFormat format) {
    if (format == Ch::cPlatformFormat) {
        TranslateToMacURIString(source);
        return;
    }
    const bool form = format == Ch::cFormFormat;
    TranslateToURIString(source, level != Ch::cKeepLegal, form ? " " : nullptr,
                         form ? "+" : nullptr, false);
}

template <>
void CString::TranslateToURIString(const char* source, bool strict, const char* from,
                                   const char* to, bool keepEscapes) {
    if (Owns(source) && !IsEmpty()) {
        const CString aside(source);
        TranslateToURIString(aside.CStr(), strict, from, to, false);
        return;
    }
    Clear();
    const std::string_view text(source);
    constexpr std::size_t cWorst = 3;  // every byte becomes an escape
    char* out = Lock(CheckedSize(cWorst * text.size()) + 1);
    const std::string_view fromSet(from != nullptr ? from : "");
    const std::string_view toSet(to != nullptr ? to : "");
    const EscapeTable* table = &cPlainTables[strict ? 1 : 0];
    EscapeTable own;
    if (fromSet == " " && toSet == "+") {
        table = &cFormTables[strict ? 1 : 0];
    } else if (!fromSet.empty()) {
        own = *table;
        translate(own, fromSet, toSet);
        table = &own;
    }
    const char* in = text.data();
    const char* const end = in + text.size();
    if (table != &own && !keepEscapes) {
        escapeBlocks(*table, in, end, out);
    }
    while (in != end) {
        if (keepEscapes && *in == '%') {
            in = copyEscape(in, out);
        } else {
            out = writePiece(*table, *in++, out);
        }
    }
    *out = '\0';
    Unlock();
}

template <>
void CString::TranslateToMacURIString(const char* source) {
    CString normalised;
    normalised.CopyFromCFString(normaliseEscapes(source).Get(), kCFStringEncodingUTF8);
    TranslateToURIString(normalised.CStr(), false, nullptr, nullptr, true);
}

}  // namespace Tova
