// CFStringCreateWithFormat: C's conversions without the C library's, whose texts depend on the
// locale.
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

enum class Length { None, Char, Short, Long, LongLong, Size, Difference, Largest };

// One directive of a format.
struct Directive {
    bool left = false;
    bool zeros = false;
    bool plus = false;
    bool blank = false;
    bool alternative = false;
    int width = 0;
    int precision = -1;  // -1: none given
    Length length = Length::None;
    char16_t conversion = 0;
};

constexpr int cWidest = 100000;

// Reads directives off a format.
class DirectiveReader {
public:
    DirectiveReader(std::u16string_view format, Arguments& arguments)
        : rest_(format), arguments_(arguments) {}

    std::u16string_view Rest() const { return rest_; }

    // Takes off the directive that begins behind a percent sign; false for one that cannot be read.
    bool Read(Directive& directive) {
        ReadFlags(directive);
        if (!ReadNumber(directive.width)) {
            return false;
        }
        if (directive.width < 0) {
            directive.left = true;
            directive.width = -directive.width;
        }
        if (Take(u".")) {
            directive.precision = 0;
            if (!ReadNumber(directive.precision)) {
                return false;
            }
            directive.precision = std::max(directive.precision, -1);
        }
        ReadLength(directive);
        if (rest_.empty()) {
            return false;
        }
        directive.conversion = rest_[0];
        rest_.remove_prefix(1);
        return true;
    }

private:
    bool Take(std::u16string_view what) {
        const bool found = rest_.starts_with(what);
        rest_.remove_prefix(found ? what.size() : 0);
        return found;
    }

    void ReadFlags(Directive& directive) {
        for (;;) {
            if (Take(u"-")) {
                directive.left = true;
            } else if (Take(u"0")) {
                directive.zeros = true;
            } else if (Take(u"+")) {
                directive.plus = true;
            } else if (Take(u" ")) {
                directive.blank = true;
            } else if (Take(u"#")) {
                directive.alternative = true;
            } else {
                return;
            }
        }
    }

    // A number, an asterisk or nothing. False for a number that is too large.
    bool ReadNumber(int& number) {
        if (Take(u"*")) {
            number = va_arg(arguments_.list, int);
            return number >= -cWidest && number <= cWidest;
        }
        for (; !rest_.empty() && rest_[0] >= u'0' && rest_[0] <= u'9'; rest_.remove_prefix(1)) {
            number = number * 10 + (rest_[0] - u'0');
            if (number > cWidest) {
                return false;
            }
        }
        return true;
    }

    void ReadLength(Directive& directive) {
        struct Name {
            std::u16string_view name;
            Length length;
        };
        constexpr Name cNames[] = {{u"hh", Length::Char},      {u"h", Length::Short},
                                   {u"ll", Length::LongLong},  {u"l", Length::Long},
                                   {u"q", Length::LongLong},   {u"z", Length::Size},
                                   {u"t", Length::Difference}, {u"j", Length::Largest}};
        for (const Name& name : cNames) {
            if (Take(name.name)) {
                directive.length = name.length;
                return;
            }
        }
    }

    std::u16string_view rest_;
    Arguments& arguments_;
};

std::intmax_t takeSigned(Length length, Arguments& arguments) {
    switch (length) {
    case Length::Char:
        return static_cast<signed char>(va_arg(arguments.list, int));
    case Length::Short:
        return static_cast<short>(va_arg(arguments.list, int));
    case Length::None:
        return va_arg(arguments.list, int);
    case Length::Long:
        return va_arg(arguments.list, long);
    case Length::LongLong:
        return va_arg(arguments.list, long long);
    case Length::Size:
    case Length::Difference:
        return va_arg(arguments.list, std::ptrdiff_t);
    case Length::Largest:
        break;
    }
    return va_arg(arguments.list, std::intmax_t);
}

std::uintmax_t takeUnsigned(Length length, Arguments& arguments) {
    switch (length) {
    case Length::Char:
        return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
    case Length::Short:
        return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
    case Length::None:
        return va_arg(arguments.list, unsigned);
    case Length::Long:
        return va_arg(arguments.list, unsigned long);
    case Length::LongLong:
        return va_arg(arguments.list, unsigned long long);
    case Length::Size:
    case Length::Difference:
        return va_arg(arguments.list, size_t);
    case Length::Largest:
        break;
    }
    return va_arg(arguments.list, std::uintmax_t);
}

std::u16string_view signOf(bool negative, const Directive& directive) {
    return negative ? u"-" : directive.plus ? u"+" : directive.blank ? u" " : u"";
}

// Appends sign or prefix and text in the directive's width.
void appendPadded(std::u16string& out, std::u16string_view prefix, std::u16string_view text,
                  const Directive& directive, bool zeros) {
    const size_t size = prefix.size() + text.size();
    const auto width = static_cast<size_t>(directive.width);
    const size_t padding = width > size ? width - size : 0;
    if (!directive.left && !zeros) {
        out.append(padding, u' ');
    }
    out.append(prefix);
    if (!directive.left && zeros) {
        out.append(padding, u'0');
    }
    out.append(text);
    if (directive.left) {
        out.append(padding, u' ');
    }
}

std::u16string Upper(std::string_view text, bool upper) {
    std::u16string result(text.begin(), text.end());
    if (upper) {
        std::transform(result.begin(), result.end(), result.begin(), [](char16_t unit) {
            return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
        });
    }
    return result;
}

void appendInteger(std::u16string& out, std::u16string_view sign, std::uintmax_t value, int radix,
                   const Directive& directive) {
    char digits[32];
    const char* end = std::to_chars(digits, digits + sizeof digits, value, radix).ptr;
    const bool upper = directive.conversion == u'X';
    std::u16string text;
    if (value != 0 || directive.precision != 0) {
        text = Upper({digits, static_cast<size_t>(end - digits)}, upper);
    }
    size_t least = static_cast<size_t>(std::max(directive.precision, 0));
    if (radix == 8 && directive.alternative && (text.empty() || text[0] != u'0')) {
        least = std::max(least, text.size() + 1);
    }
    if (text.size() < least) {
        text.insert(0, least - text.size(), u'0');
    }
    std::u16string prefix(sign);
    if (radix == 16 && directive.alternative && value != 0) {
        prefix += upper ? u"0X" : u"0x";
    }
    appendPadded(out, prefix, text, directive, directive.zeros && directive.precision < 0);
}

void appendFloat(std::u16string& out, double value, const Directive& directive) {
    const char16_t kind = directive.conversion | 0x20;
    const auto format = kind == u'e'   ? std::chars_format::scientific
                        : kind == u'f' ? std::chars_format::fixed
                                       : std::chars_format::general;
    const int precision = directive.precision < 0 ? 6 : directive.precision;
    // The largest number has 309 digits before its point.
    std::string text(static_cast<size_t>(precision) + 400, '\0');
    const double magnitude = std::abs(value);
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), magnitude, format, precision).ptr;
    text.resize(static_cast<size_t>(end - text.data()));
    appendPadded(out, signOf(std::signbit(value), directive),
                 Upper(text, directive.conversion != kind), directive,
                 directive.zeros && std::isfinite(value));
}

// Text in the system encoding, no further than the precision; false when it cannot be decoded.
bool appendBytes(std::u16string& out, const char* text, const Directive& directive) {
    std::optional<std::u16string> units = u"(null)";
    if (text != nullptr) {
        const size_t size = directive.precision < 0
                                ? std::strlen(text)
                                : strnlen(text, static_cast<size_t>(directive.precision));
        units = Decode({text, size}, SystemEncoding());
    }
    if (units) {
        appendPadded(out, u"", *units, directive, false);
    }
    return units.has_value();
}

void appendObject(std::u16string& out, CFTypeRef object, const Directive& directive) {
    const auto text = TextOf(object);
    if (text) {
        appendPadded(out, u"", *text, directive, false);
        return;
    }
    const auto* other = static_cast<const Object*>(object);
    appendPadded(out, u"", other != nullptr ? other->Description() : u"(null)", directive, false);
}

// Appends what a directive makes of the next argument; false when it cannot.
bool appendDirective(std::u16string& out, const Directive& directive, Arguments& arguments) {
    switch (directive.conversion) {
    case u'%':
        out.push_back(u'%');
        return true;
    case u'@':
        appendObject(out, va_arg(arguments.list, CFTypeRef), directive);
        return true;
    case u's':
        return appendBytes(out, va_arg(arguments.list, const char*), directive);
    case u'c': {
        const char text[] = {static_cast<char>(va_arg(arguments.list, int)), '\0'};
        return appendBytes(out, text, directive);
    }
    case u'C': {
        const auto unit = static_cast<char16_t>(va_arg(arguments.list, int));
        appendPadded(out, u"", {&unit, 1}, directive, false);
        return true;
    }
    case u'd':
    case u'i': {
        const std::intmax_t value = takeSigned(directive.length, arguments);
        const auto bits = static_cast<std::uintmax_t>(value);
        appendInteger(out, signOf(value < 0, directive), value < 0 ? 0 - bits : bits, 10,
                      directive);
        return true;
    }
    case u'u':
        appendInteger(out, u"", takeUnsigned(directive.length, arguments), 10, directive);
        return true;
    case u'o':
        appendInteger(out, u"", takeUnsigned(directive.length, arguments), 8, directive);
        return true;
    case u'x':
    case u'X':
        appendInteger(out, u"", takeUnsigned(directive.length, arguments), 16, directive);
        return true;
    case u'p':
        appendInteger(out, u"0x", reinterpret_cast<std::uintptr_t>(va_arg(arguments.list, void*)),
                      16, directive);
        return true;
    case u'e':
    case u'E':
    case u'f':
    case u'F':
    case u'g':
    case u'G':
        if (directive.alternative || directive.length != Length::None) {
            return false;
        }
        appendFloat(out, va_arg(arguments.list, double), directive);
        return true;
    default:
        return false;
    }
}

std::optional<std::u16string> Format(CFStringRef format, va_list arguments) {
    const auto pattern = TextOf(format);
    if (!pattern) {
        return std::nullopt;
    }
    Arguments list;
    va_copy(list.list, arguments);
    std::u16string out;
    bool good = true;
    for (std::u16string_view rest = *pattern; good && !rest.empty();) {
        const size_t plain = std::min(rest.find(u'%'), rest.size());
        out.append(rest.substr(0, plain));
        rest.remove_prefix(plain);
        if (!rest.empty()) {
            DirectiveReader reader(rest.substr(1), list);
            Directive directive;
            good = reader.Read(directive) && appendDirective(out, directive, list);
            rest = reader.Rest();
        }
    }
    va_end(list.list);
    return good ? std::optional(std::move(out)) : std::nullopt;
}

}  // namespace
}  // namespace tvplatform

using namespace tvplatform;

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef,
                                                 CFStringRef format, va_list arguments) {
    auto text = Format(format, arguments);
    return text ? MakeString(std::move(*text)) : nullptr;
}

CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator, CFDictionaryRef formatOptions,
                                     CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    CFStringRef string =
        CFStringCreateWithFormatAndArguments(allocator, formatOptions, format, arguments);
    va_end(arguments);
    return string;
}

void CFStringAppendFormat(CFMutableStringRef string, CFDictionaryRef, CFStringRef format, ...) {
    String* object = As<String>(string);
    if (object == nullptr || !object->IsMutable()) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    const auto text = Format(format, arguments);
    va_end(arguments);
    if (text) {
        object->MutableText()->append(*text);
    }
}
