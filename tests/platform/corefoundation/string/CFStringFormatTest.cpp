#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

using namespace tvtest;

namespace {

template <class... Args>
std::u16string Format(const char* format, Args... args) {
    return Text(Own(
        CFStringCreateWithFormat(nullptr, nullptr, __CFStringMakeConstantString(format), args...)));
}

TEST(CFStringFormat, ObjectsAndText) {
    // A percent sign in what is put in is text.
    EXPECT_EQ(Format("%@|%@|[%5@|%-5@]", CFSTR("Naïve"), CFSTR("%d %@"), CFSTR("ab"), CFSTR("ab")),
              u"Naïve|%d %@|[   ab|ab   ]");
    EXPECT_EQ(Format("%@ %@ %@", Int(-5).Get(), kCFBooleanTrue, static_cast<CFTypeRef>(nullptr)),
              u"-5 true (null)");
    EXPECT_EQ(Format("%s|%5s|%-5s|%.2s|%s", "abc", "é", "x", "xyz", static_cast<char*>(nullptr)),
              u"abc|    é|x    |xy|(null)");
    EXPECT_EQ(Format("%c%c 100%% %C", 'a', 'b', 0x20AC), u"ab 100% €");
    const char unterminated[] = {'a', 'b'};
    EXPECT_EQ(Format("%.*s", 2, unterminated), u"ab") << "read no further than the precision";
}

TEST(CFStringFormat, Numbers) {
    EXPECT_EQ(Format("%d %i %u", -1, INT_MIN, UINT_MAX), u"-1 -2147483648 4294967295");
    EXPECT_EQ(Format("%ld %llu %zd", LONG_MIN, ULLONG_MAX, std::ptrdiff_t{-3}),
              u"-9223372036854775808 18446744073709551615 -3");
    EXPECT_EQ(Format("%x %X %p", 0xa9f, 0xa9f, static_cast<void*>(nullptr)), u"a9f A9F 0x0");
    EXPECT_EQ(Format("%5d|%-5d|%05d|%-05d", 42, 42, -42, 42), u"   42|42   |-0042|42   ");
    EXPECT_EQ(Format("%.3d|%6.3d|%06.3d|%.0d|%*d|%-*d|%*d", 7, 7, 7, 0, 4, 7, 4, 7, -4, 7),
              u"007|   007|   007||   7|7   |7   ");
    EXPECT_EQ(Format("%f %.2lf %.0f %g|%-8.1f|%08.1f|%05f", 1.5, 2.345, 2.5, 1e-10, 1.25, -1.25,
                     HUGE_VAL),
              u"1.500000 2.35 2 1e-10|1.2     |-00001.2|  inf");
    EXPECT_EQ(Format("%.0f", 1e308).size(), 309U);
}

TEST(CFStringFormat, RefusesWhatItCannotRead) {
    for (const char* format : {"%", "%5", "%l", "%n", "%y", "%1$@", "%Lf", "%+d", "%llf", "%ls",
                               "%lc", "abc %", "%100001d", "%.100001d", "%99999999999999999999d"}) {
        EXPECT_EQ(Format(format, 1), u"<null>") << format;
    }
    EXPECT_EQ(Format("%*d", 1000000, 1) + Format("%s", "\xFF"), u"<null><null>");
    EXPECT_EQ(Format("%100000d", 1).size(), 100000U);
}

}  // namespace
