// What the substitution of variables into texts is made of. Any thread.
#pragma once

#include "text/CFRef.h"
#include "text/CString.h"

#include <CoreFoundation/CoreFoundation.h>

#include <climits>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tova {

// The first two characters of a delimiter text (null: "<>"). Where it has fewer, a NUL stands in
// for them, which no text holds.
struct Delimiters {
    explicit Delimiters(const char* text) {
        if (text != nullptr) {
            open = text[0];
            close = open != '\0' ? text[1] : '\0';
        }
    }
    char open = '<';
    char close = '>';
};

// Makes `text` the bytes given, which hold no NUL; std::bad_alloc beyond the range of int.
void Assign(CString& text, std::string_view bytes);
// A platform string in the system encoding; null when the bytes are not valid in it.
CFRef<CFStringRef> MakeCFString(const char* text);

// Replaces every placeholder in `text`, and those that arise from the values, in one scan from left
// to right, and puts the result into `out` (which is empty before). `find` turns a name into
// its value, an optional string view that stays valid. Returns the number of replacements; nothing
// when more than `maxDepth` values are open inside each other, which some circles lead to: `out` is
// then of no use. std::bad_alloc when the result outgrows the range of int.
//
// Holds only where the delimiters differ and no name holds one. Placeholders then cannot overlap:
// a "<" stands nowhere but at the start of one, a ">" nowhere but at its end. So replacing one
// leaves every other as it is, whatever partial placeholders the values are made of, and the text
// that is left when none remains, and the number of steps to it, are the same in any order; and
// where one order never ends, none does. Repeated passes over all variables are one such order,
// this is another: what stands in `out` never holds a placeholder, hence a closing delimiter ends
// one exactly when the last delimiter before it is an opening one and a name lies between.
//
// The look back for that delimiter does not make long texts slow: what it passes over is removed,
// or lies behind a closing delimiter for good.
template <class C, class Find>
std::optional<unsigned> SubstituteInOneScan(std::basic_string_view<C> text, C open, C close,
                                            std::size_t maxDepth, Find find,
                                            std::basic_string<C>& out) {
    using View = std::basic_string_view<C>;
    std::vector<View> outer;  // the rests of what values were inserted into
    View input = text;
    unsigned count = 0;
    for (;;) {
        const std::size_t end = input.find(close);
        out.append(input.substr(0, end));
        if (out.size() > INT_MAX) {
            throw std::bad_alloc();
        }
        if (end == View::npos) {
            if (outer.empty()) {
                return count;
            }
            input = outer.back();
            outer.pop_back();
            continue;
        }
        input.remove_prefix(end + 1);
        std::size_t start = out.size();
        while (start > 0 && out[start - 1] != open && out[start - 1] != close) {
            --start;
        }
        const bool opened = start > 0 && out[start - 1] == open;
        const std::optional<View> value =
            opened ? find(View(out).substr(start)) : std::optional<View>();
        if (!value) {
            out.push_back(close);
            continue;
        }
        out.resize(start - 1);
        ++count;
        if (!input.empty()) {
            if (outer.size() == maxDepth) {
                return std::nullopt;
            }
            outer.push_back(input);
        }
        input = *value;
    }
}

}  // namespace Tova
