// CFStringCreateWithFormat: C's conversions without the C library's, whose
// texts depend on the locale.
#include "corefoundation/string/Charset.h"
#include "corefoundation/string/Encoding.h"
#include "corefoundation/string/String.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace tvplatform {

namespace {

// In a class of its own a va_list can be handed on by reference.
struct Arguments {
    va_list list;
};

// One directive of a format.
struct Directive {
    bool left = false;
    bool zeros = false;
    int width = 0;
    int precision = -1;  // -1: none given
    int longs = 0;       // how many "l" there are; "z" counts as those of its size
    char16_t conversion = 0;
};

constexpr int cWidest = 100000;

bool take(std::u16string_view& text, std::u16string_view what) {
    const bool found = text.starts_with(what);
    text.remove_prefix(found ? what.size() : 0);
    return found;
}

// Takes a number, an asterisk or nothing off `text`. Returns false if the number is too large.
bool takeNumber(std::u16string_view& text, Arguments& arguments, int& number) {
    if (take(text, u"*")) {
        number = va_arg(arguments.list, int);
        return number >= -cWidest && number <= cWidest;
    }
    for (; !text.empty() && text[0] >= u'0' && text[0] <= u'9'; text.remove_prefix(1)) {
        number = number * 10 + (text[0] - u'0');
        if (number > cWidest) {
            return false;
        }
    }
    return true;
}

// Takes a directive off `text`, which begins behind its percent sign. Returns false if it cannot be
// read.
bool takeDirective(std::u16string_view& text, Arguments& arguments, Directive& directive) {
    for (bool more = true; more;) {
        const bool left = take(text, u"-");
        const bool zeros = take(text, u"0");
        directive.left |= left;
        directive.zeros |= zeros;
        more = left || zeros;
    }
    if (!takeNumber(text, arguments, directive.width)) {
        return false;
    }
    if (directive.width < 0) {
        directive.left = true;
        directive.width = -directive.width;
    }
    if (take(text, u".")) {
        directive.precision = 0;
        if (!takeNumber(text, arguments, directive.precision)) {
            return false;
        }
        directive.precision = std::max(directive.precision, -1);
    }
    directive.longs = take(text, u"ll")                                  ? 2
                      : take(text, u"l")                                 ? 1
                      : take(text, u"z") && sizeof(size_t) > sizeof(int) ? 2
                                                                         : 0;
    if (text.empty()) {
        return false;
    }
    directive.conversion = text[0];
    text.remove_prefix(1);
    return true;
}

// Returns the bits of an integer with its sign or zeros in front.
template <class Integer>
std::uintmax_t takeInteger(bool isSigned, Arguments& arguments) {
    const Integer value = va_arg(arguments.list, Integer);
    return isSigned ? static_cast<std::uintmax_t>(value)
                    : static_cast<std::make_unsigned_t<Integer>>(value);
}

// Appends sign or prefix and text in the directive's width.
void appendPadded(std::u16string& out, std::u16string_view prefix, std::u16string_view text,
                  const Directive& directive, bool zeros = false) {
    const size_t size = prefix.size() + text.size();
    const auto width = static_cast<size_t>(directive.width);
    const size_t padding = width > size ? width - size : 0;
    const bool inside = zeros && !directive.left;
    out.append(directive.left || inside ? 0 : padding, u' ').append(prefix);
    out.append(inside ? padding : 0, u'0').append(text);
    out.append(directive.left ? padding : 0, u' ');
}

// Takes an integer or a pointer and appends it.
void appendInteger(std::u16string& out, const Directive& directive, Arguments& arguments) {
    const char16_t conversion = directive.conversion;
    const bool isPointer = conversion == u'p';
    const bool isSigned = conversion == u'd' || conversion == u'i';
    std::uintmax_t value = isPointer
                               ? reinterpret_cast<std::uintptr_t>(va_arg(arguments.list, void*))
                           : directive.longs == 0 ? takeInteger<int>(isSigned, arguments)
                           : directive.longs == 1 ? takeInteger<long>(isSigned, arguments)
                                                  : takeInteger<long long>(isSigned, arguments);
    const bool isNegative = isSigned && static_cast<std::intmax_t>(value) < 0;
    value = isNegative ? 0 - value : value;
    char digits[32];
    const int base = isSigned || conversion == u'u' ? 10 : 16;
    char* end = std::to_chars(digits, std::end(digits), value, base).ptr;
    if (conversion == u'X') {
        std::transform(digits, end, digits, [](char c) { return c >= 'a' ? c - 'a' + 'A' : c; });
    }
    std::u16string text(digits, value == 0 && directive.precision == 0 ? digits : end);
    const auto least = static_cast<size_t>(std::max(directive.precision, 0));
    text.insert(0, least > text.size() ? least - text.size() : 0, u'0');
    appendPadded(out,
                 isPointer    ? u"0x"
                 : isNegative ? u"-"
                              : u"",
                 text, directive, directive.zeros && directive.precision < 0);
}

void appendFloat(std::u16string& out, double value, const Directive& directive) {
    const auto format =
        directive.conversion == u'f' ? std::chars_format::fixed : std::chars_format::general;
    const int precision = directive.precision < 0 ? 6 : directive.precision;
    // The largest number has 309 digits before its point.
    std::string text(static_cast<size_t>(precision) + 400, '\0');
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), std::abs(value), format, precision)
            .ptr;
    appendPadded(out, std::signbit(value) ? u"-" : u"", std::u16string(text.data(), end), directive,
                 directive.zeros && std::isfinite(value));
}

// Appends text in the system encoding, no further than the precision. Returns false if it cannot be
// decoded, or is to be wide.
bool appendBytes(std::u16string& out, const char* text, const Directive& directive) {
    std::optional<std::u16string> units = u"(null)";
    if (text != nullptr && directive.longs == 0) {
        const size_t size = directive.precision < 0
                                ? std::strlen(text)
                                : strnlen(text, static_cast<size_t>(directive.precision));
        units = Decode({text, size}, SystemEncoding());
    }
    if (!units || directive.longs != 0) {
        return false;
    }
    appendPadded(out, u"", *units, directive);
    return true;
}

// Appends what a directive makes of the next argument. Returns false if it cannot.
bool appendDirective(std::u16string& out, const Directive& directive, Arguments& arguments) {
    switch (directive.conversion) {
    case u'%':
        out.push_back(u'%');
        return true;
    case u'@':
        appendPadded(out, u"", DescriptionOf(va_arg(arguments.list, CFTypeRef)), directive);
        return true;
    case u's':
        return appendBytes(out, va_arg(arguments.list, const char*), directive);
    case u'c': {
        const char text[] = {static_cast<char>(va_arg(arguments.list, int)), '\0'};
        return appendBytes(out, text, directive);
    }
    case u'C': {
        const auto unit = static_cast<char16_t>(va_arg(arguments.list, int));
        appendPadded(out, u"", {&unit, 1}, directive);
        return true;
    }
    case u'd':
    case u'i':
    case u'u':
    case u'x':
    case u'X':
    case u'p':
        appendInteger(out, directive, arguments);
        return true;
    case u'f':
    case u'g':
        if (directive.longs < 2) {
            appendFloat(out, va_arg(arguments.list, double), directive);
        }
        return directive.longs < 2;
    default:
        return false;
    }
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFStringRef CFStringCreateWithFormat(CFAllocatorRef, CFDictionaryRef, CFStringRef format, ...) {
    const auto pattern = TextOf(format);
    if (!pattern) {
        return nullptr;
    }
    Arguments arguments;
    va_start(arguments.list, format);
    std::u16string out;
    bool good = true;
    for (std::u16string_view rest = *pattern; good && !rest.empty();) {
        const size_t plain = std::min(rest.find(u'%'), rest.size());
        out.append(rest.substr(0, plain));
        rest.remove_prefix(plain);
        if (take(rest, u"%")) {
            Directive directive;
            good = takeDirective(rest, arguments, directive) &&
                   appendDirective(out, directive, arguments);
        }
    }
    va_end(arguments.list);
    return good ? MakeString(std::move(out)) : nullptr;
}
