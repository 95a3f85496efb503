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

namespace tvplatform {

namespace {

// In a class of its own a va_list can be handed on by reference.
struct Arguments {
    va_list list;
};

enum class Length { Int, Long, LongLong, Size };

// One directive of a format.
struct Directive {
    bool left = false;
    bool zeros = false;
    int width = 0;
    int precision = -1;  // -1: none given
    Length length = Length::Int;
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
    directive.length = take(text, u"ll")  ? Length::LongLong
                       : take(text, u"l") ? Length::Long
                       : take(text, u"z") ? Length::Size
                                          : Length::Int;
    if (text.empty()) {
        return false;
    }
    directive.conversion = text[0];
    text.remove_prefix(1);
    return true;
}

std::intmax_t takeSigned(Length length, Arguments& arguments) {
    switch (length) {
    case Length::Int:
        return va_arg(arguments.list, int);
    case Length::Long:
        return va_arg(arguments.list, long);
    case Length::LongLong:
        return va_arg(arguments.list, long long);
    case Length::Size:
        break;
    }
    return va_arg(arguments.list, std::ptrdiff_t);
}

std::uintmax_t takeUnsigned(Length length, Arguments& arguments) {
    switch (length) {
    case Length::Int:
        return va_arg(arguments.list, unsigned);
    case Length::Long:
        return va_arg(arguments.list, unsigned long);
    case Length::LongLong:
        return va_arg(arguments.list, unsigned long long);
    case Length::Size:
        break;
    }
    return va_arg(arguments.list, size_t);
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

void appendInteger(std::u16string& out, std::u16string_view prefix, std::uintmax_t value, int base,
                   const Directive& directive) {
    char digits[32];
    const char* end = std::to_chars(digits, digits + sizeof digits, value, base).ptr;
    std::u16string text(static_cast<const char*>(digits), end);
    if (directive.conversion == u'X') {
        std::transform(text.begin(), text.end(), text.begin(), [](char16_t c) {
            return c >= u'a' ? static_cast<char16_t>(c - u'a' + u'A') : c;
        });
    }
    const auto least = static_cast<size_t>(std::max(directive.precision, 0));
    if (value == 0 && directive.precision == 0) {
        text.clear();
    }
    text.insert(0, least > text.size() ? least - text.size() : 0, u'0');
    appendPadded(out, prefix, text, directive, directive.zeros && directive.precision < 0);
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
    if (text != nullptr && directive.length == Length::Int) {
        const size_t size = directive.precision < 0
                                ? std::strlen(text)
                                : strnlen(text, static_cast<size_t>(directive.precision));
        units = Decode({text, size}, SystemEncoding());
    }
    if (!units || directive.length != Length::Int) {
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
    case u'i': {
        const std::intmax_t value = takeSigned(directive.length, arguments);
        const auto bits = static_cast<std::uintmax_t>(value);
        appendInteger(out, value < 0 ? u"-" : u"", value < 0 ? 0 - bits : bits, 10, directive);
        return true;
    }
    case u'u':
        appendInteger(out, u"", takeUnsigned(directive.length, arguments), 10, directive);
        return true;
    case u'x':
    case u'X':
        appendInteger(out, u"", takeUnsigned(directive.length, arguments), 16, directive);
        return true;
    case u'p':
        appendInteger(out, u"0x", reinterpret_cast<std::uintptr_t>(va_arg(arguments.list, void*)),
                      16, directive);
        return true;
    case u'f':
    case u'g':
        if (directive.length != Length::Int && directive.length != Length::Long) {
            return false;
        }
        appendFloat(out, va_arg(arguments.list, double), directive);
        return true;
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
