// The substitution of variables into texts: the engine that the library and the tool share. Any
// thread may use these functions; a text, its variables and its observer belong to one thread at a
// time. docs/substitution.md gives the reasons for the rules.
#pragma once

#include "text/CFRef.h"
#include "text/CString.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Tova {

// The first two characters of a delimiter text; a null text stands for "<>". A missing character is
// a NUL, which no text holds.
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

// Sets `text` to `bytes`, which hold no NUL and are not its own. Throws std::bad_alloc if int
// cannot hold the length.
void Assign(CString& text, std::string_view bytes);
// Makes a platform string from text in the system encoding. Returns null if the text is not valid.
CFRef<CFStringRef> MakeCFString(const char* text);

// The part of a text that is still to be searched. Dropping text from its front and putting text in
// front of it cost only what is moved. So many replacements in a long text do not move its end.
class RestOfText {
public:
    explicit RestOfText(std::string_view text) : buffer_(text) {}

    const char* Text() const { return buffer_.c_str() + begin_; }
    std::size_t Length() const { return buffer_.size() - begin_; }
    void Drop(std::size_t count) { begin_ += count; }
    void Prepend(const char* text, std::size_t length) {
        if (length > begin_) {
            const std::size_t room = buffer_.size() + length;
            buffer_.insert(0, room, '\0');
            begin_ += room;
        }
        begin_ -= length;
        buffer_.replace(begin_, length, text, length);
    }

private:
    std::string buffer_;
    std::size_t begin_ = 0;
};

// The observer that does nothing and costs nothing. Every observer has these members. It can learn
// where each character of the result comes from, and it can end a substitution by an exception.
struct NoObserver {
    // Names what is being read: the text if it is default-made, else the value that Replace named.
    struct Source {};
    // Tells whether the observer ends every substitution that would have no end.
    static constexpr bool cEndsCircles = false;

    // The scan and the passes put `count` characters of `source` at the end of the result.
    template <class C>
    void Append(const C* /*from*/, std::size_t /*count*/, Source /*source*/) {}
    // The end of the result, from index `open` on, is a placeholder of `var`. The engine removes it
    // and reads the value next. Returns what names that value.
    template <class Var>
    Source Replace(const Var& /*var*/, std::size_t /*open*/) {
        return {};
    }
    // The result becomes the text before the pass, and a new result begins empty.
    void Turn() {}
    // The pass puts `count` characters of the text before it at the end of the result.
    void Keep(std::size_t /*from*/, std::size_t /*count*/) {}
    // One variable's share of a pass has ended; the text has `length` characters now.
    void EndPass(std::size_t /*length*/) {}
};

// The text that a scan puts out. A short one needs no memory of its own.
template <class C>
class ScanOutput {
public:
    ScanOutput() = default;
    ScanOutput(const ScanOutput&) = delete;
    ScanOutput& operator=(const ScanOutput&) = delete;

    std::basic_string_view<C> View() const { return {begin_, size_}; }
    std::size_t Size() const { return size_; }
    // Makes room for what a text of `count` characters becomes, if that is no more than usual.
    void ReserveFor(std::size_t count) { Reserve(count + count / 4); }
    // Makes room for `count` more characters. Throws std::bad_alloc if int cannot hold the length.
    void Reserve(std::size_t count) {
        if (count > room_ - size_) {
            Grow(count);
        }
    }
    void Append(std::basic_string_view<C> text) {
        Reserve(text.size());
        std::memcpy(begin_ + size_, text.data(), text.size() * sizeof(C));
        size_ += text.size();
    }
    void CutTo(std::size_t size) { size_ = size; }
    // Sets `to` to the text, which holds no NUL. A long one takes its memory along, and the output
    // is of no use then. Throws std::bad_alloc if int cannot hold the length.
    void MoveTo(CString& to) {
        if (own_ != nullptr) {
            to.Adopt(std::move(own_), room_, size_);
        } else {
            Assign(to, View());
        }
    }

private:
    void Grow(std::size_t count) {
        if (count >= INT_MAX - size_) {
            throw std::bad_alloc();
        }
        // CString has such rooms too.
        const std::size_t room = std::bit_ceil(size_ + count);
        std::unique_ptr<C[]> grown(new C[room]);
        std::memcpy(grown.get(), begin_, size_ * sizeof(C));
        own_ = std::move(grown);
        begin_ = own_.get();
        room_ = room;
    }

    static constexpr std::size_t cShort = 512;
    C short_[cShort];
    std::unique_ptr<C[]> own_;
    C* begin_ = short_;
    std::size_t size_ = 0;
    std::size_t room_ = cShort;
};

// Returns the index behind the last `sought` in the text, or 0 if there is none. Names are short,
// so one word that holds the end of the text mostly tells it.
template <class C>
std::size_t behindLast(std::basic_string_view<C> text, C sought) {
    using Unit = std::make_unsigned_t<C>;
    constexpr std::size_t cBits = sizeof(C) * CHAR_BIT;
    constexpr std::size_t cUnits = sizeof(std::uint64_t) / sizeof(C);
    constexpr std::uint64_t cOnes = ~std::uint64_t{0} / std::numeric_limits<Unit>::max();
    constexpr std::uint64_t cTops = cOnes << (cBits - 1);
    std::size_t end = text.size();
    if (end >= cUnits) {
        end -= cUnits;
        std::uint64_t units = 0;
        std::memcpy(&units, text.data() + end, sizeof units);
        const std::uint64_t others = units ^ (cOnes * static_cast<Unit>(sought));
        // The top bit of each unit that is the sought one.
        const std::uint64_t found = ~(((others & ~cTops) + ~cTops) | others) & cTops;
        if (found != 0) {
            const auto behind = static_cast<std::size_t>(std::endian::native == std::endian::little
                                                             ? std::countl_zero(found)
                                                             : std::countr_zero(found));
            return end + cUnits - behind / cBits;
        }
    }
    while (end > 0 && text[end - 1] != sought) {
        --end;
    }
    return end;
}

// Replaces every placeholder in `text`, and those that arise from the values, in one scan from left
// to right, and appends the result to `out`, which is empty. `find` returns the variable of a name
// or null; the variable's ValueView() stays valid, and ValueHolds(c) searches it. Returns the
// number of replacements. Returns nullopt, with `out` of no use, if more than `maxDepth` values are
// open, each made by the one before it alone: only circles do that. Throws std::bad_alloc if int
// cannot hold the length of the result.
//
// The scan is allowed only if the delimiters differ and no name holds one of them. Then the result
// and the count are those of repeated passes over all variables.
//
// The look back for the opening delimiter does not make long texts slow: the scan removes what it
// passes over, or that text lies behind a closing delimiter for good.
template <class C, class Find, class Observer>
std::optional<unsigned> SubstituteInOneScan(std::basic_string_view<C> text, C open, C close,
                                            std::size_t maxDepth, Find find, ScanOutput<C>& out,
                                            Observer& observer) {
    using View = std::basic_string_view<C>;
    struct Input {
        View rest;
        [[no_unique_address]] typename Observer::Source source;
    };
    std::vector<Input> outer;  // the rests of what values were inserted into
    // The open values that used no delimiter in front of the value before: the length of the result
    // where each began, and the size of `outer` while it is read.
    struct Open {
        std::size_t begin;
        std::size_t depth;
    };
    std::vector<Open> chain;
    Input input{text, {}};
    unsigned count = 0;
    for (;;) {
        const std::size_t end = input.rest.find(close);
        const View piece = input.rest.substr(0, end != View::npos ? end + 1 : View::npos);
        observer.Append(piece.data(), piece.size(), input.source);
        if (end == View::npos) {
            out.Append(piece);
            if (outer.empty()) {
                return count;
            }
            input = outer.back();
            outer.pop_back();
            continue;
        }
        input.rest.remove_prefix(piece.size());
        // Most placeholders lie in one piece, and then only what stands before one is put out.
        const std::size_t opening = behindLast(piece.substr(0, end), open);
        View name = piece.substr(opening, end - opening);
        const auto* var = opening > 0 ? find(name) : nullptr;
        if (var != nullptr) {
            out.Append(piece.substr(0, opening - 1));
        } else {
            out.Append(piece);
            if (opening == 0) {
                const View before = out.View();
                std::size_t start = before.size() - 1;
                while (start > 0 && before[start - 1] != open && before[start - 1] != close) {
                    --start;
                }
                name = before.substr(start, before.size() - 1 - start);
                var = start > 0 && before[start - 1] == open ? find(name) : nullptr;
            }
            if (var == nullptr) {
                continue;
            }
            out.CutTo(out.Size() - name.size() - 2);
        }
        ++count;
        const std::size_t begin = out.Size();
        while (!chain.empty() &&
               (chain.back().depth > outer.size() || chain.back().begin > begin)) {
            chain.pop_back();
        }
        if (chain.size() == maxDepth) {
            return std::nullopt;
        }
        const View value = var->ValueView();
        const auto source = observer.Replace(*var, begin);
        // Most values hold no end of a placeholder, so there is nothing to read in them.
        if (!var->ValueHolds(close)) {
            out.Append(value);
            observer.Append(value.data(), value.size(), source);
            continue;
        }
        if (!input.rest.empty()) {
            outer.push_back(input);
        }
        chain.push_back({begin, outer.size()});
        input = {value, source};
    }
}

// Replaces every `placeholder` of `var` in `text` by its value, from left to right and without
// searching the inserted values. Returns the number of replacements. Throws std::bad_alloc if int
// cannot hold the length of the result.
template <class C, class Var, class Observer>
unsigned ReplaceAll(std::basic_string<C>& text, std::basic_string_view<C> placeholder,
                    const Var& var, Observer& observer) {
    std::size_t found = text.find(placeholder);
    if (found == text.npos) {
        return 0;
    }
    const std::basic_string_view<C> value = var.ValueView();
    std::basic_string<C> out;
    observer.Turn();
    std::size_t from = 0;
    const auto keepUntil = [&](std::size_t end) {
        out.append(text, from, end - from);
        observer.Keep(from, end - from);
        if (out.size() > INT_MAX) {
            throw std::bad_alloc();
        }
        from = end;
    };
    unsigned count = 0;
    for (; found != text.npos; found = text.find(placeholder, from)) {
        keepUntil(found + placeholder.size());
        const std::size_t open = out.size() - placeholder.size();
        const auto source = observer.Replace(var, open);
        out.replace(open, placeholder.size(), value);
        observer.Append(value.data(), value.size(), source);
        ++count;
    }
    keepUntil(text.size());
    text = std::move(out);
    return count;
}

}  // namespace Tova
