#include "text/Str.h"

#include "text/CFRef.h"
#include "text/Ch.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace Tova {

std::int64_t nwi_wcslen(const wchar_t* s) {
    const wchar_t* end = s;
    while (*end != 0) {
        ++end;
    }
    return end - s;
}

namespace Str {

namespace {

int fold(char c) {
    return static_cast<unsigned char>(Ch::ToLower(c));
}

char* writeNumber(std::uint64_t number, bool negative, char* buffer, unsigned radix) {
    char* digits = buffer;
    if (negative) {
        *digits++ = '-';
        number = 0 - number;
    }
    char* end = digits;
    do {
        const auto digit = static_cast<char>(number % radix);
        *end++ = static_cast<char>(digit < 10 ? '0' + digit : 'a' + (digit - 10));
        number /= radix;
    } while (number != 0);
    *end = '\0';
    std::reverse(digits, end);
    return buffer;
}

// Returns a view of s in the system encoding that borrows the bytes, or null if they are not valid.
CFRef<CFStringRef> viewInSystemEncoding(const char* s) {
    return CFRef<CFStringRef>(CFStringCreateWithCStringNoCopy(
        kCFAllocatorDefault, s, CFStringGetSystemEncoding(), kCFAllocatorNull));
}

// Copies the units as bytes, because the slots of `w` are no UniChar objects. Uses a small block,
// so that nothing is allocated.
int packUnits(CFStringRef view, wchar_t* w) {
    constexpr CFIndex cBlock = 256;
    UniChar block[cBlock];
    const CFIndex count = CFStringGetLength(view);
    auto* bytes = reinterpret_cast<char*>(w);
    for (CFIndex done = 0; done < count; done += cBlock) {
        const CFIndex n = std::min(cBlock, count - done);
        CFStringGetCharacters(view, CFRangeMake(done, n), block);
        std::memcpy(bytes + static_cast<std::size_t>(done) * sizeof(UniChar), block,
                    static_cast<std::size_t>(n) * sizeof(UniChar));
    }
    w[count] = 0;
    return static_cast<int>(nwi_wcslen(w));
}

}  // namespace

int ICompare(const char* a, const char* b, int n) {
    if (n == 0) {
        return 0;
    }
    std::ptrdiff_t i = 0;
    while (fold(a[i]) == fold(b[i]) && a[i] != '\0' && i + 1 != n) {
        ++i;
    }
    return fold(a[i]) - fold(b[i]);
}

const char* IFind(const char* haystack, const char* needle) {
    const std::size_t needleLength = std::strlen(needle);
    // A 32-bit number, like every length here.
    const auto last = static_cast<std::int32_t>(std::strlen(haystack) - needleLength);
    for (std::ptrdiff_t i = 0; i <= last; ++i) {
        if (ICompare(needle, haystack + i, static_cast<int>(needleLength)) == 0) {
            return haystack + i;
        }
    }
    return nullptr;
}

const char* SkipWhite(const char* s) {
    while (Ch::IsWhite(*s)) {
        ++s;
    }
    return s;
}

char* TrimWhite(char* s) {
    for (char* end = s + std::strlen(s); end != s && Ch::IsWhite(end[-1]); --end) {
        end[-1] = '\0';
    }
    return s;
}

char* ToUpper(char* s) {
    for (char* c = s; *c != '\0'; ++c) {
        *c = Ch::ToUpper(*c);
    }
    return s;
}

char* ToString(long value, char* buffer, unsigned radix) {
    return writeNumber(static_cast<std::uint32_t>(value), value < 0 && radix == 10, buffer, radix);
}

char* ToString(unsigned long value, char* buffer, unsigned radix, bool negative) {
    return writeNumber(value, negative, buffer, radix);
}

void Format(char* buffer, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    // Deliberate: without a bound, because only the caller knows the size of the buffer.
    std::vsprintf(buffer, format, arguments);
    va_end(arguments);
}

int ToWStr(const char* s, wchar_t* w, int /*capacity*/) {
    const CFRef<CFStringRef> view = viewInSystemEncoding(s);
    return view ? packUnits(view.Get(), w) : 0;
}

wchar_t* ToWStr(const char* s) {
    std::size_t units = std::strlen(s);
    const CFRef<CFStringRef> view = viewInSystemEncoding(s);
    if (view) {
        // Some encodings make several units of one byte.
        units = std::max(units, static_cast<std::size_t>(CFStringGetLength(view.Get())));
    }
    auto* w = new wchar_t[units + 1]();
    if (view) {
        packUnits(view.Get(), w);
    }
    return w;
}

}  // namespace Str
}  // namespace Tova
