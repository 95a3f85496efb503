#include "text/Str.h"
#include "text/Ch.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>

namespace Ch = Tova::Ch;
namespace Str = Tova::Str;

namespace {

TEST(Str, ComparesWithoutCase) {
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {"abc", "ABD", 2, 0},      {"abc", "ABD", 3, -1},      {"a", "b", 0, 0},
        {"Hello", "hello", -1, 0}, {"[@", "{`", 2, '[' - '{'}, {"ab", "abc", -1, -'c'},
        {"abc", "ab", -1, 'c'},    {"\xC4", "\xE4", 1, -0x20}, {"a", "ab", INT_MIN, -'b'}};
    for (const auto& [a, b, n, expected] : cases) {
        EXPECT_EQ(Str::ICompare(a, b, n), expected) << a << " " << b << " " << n;
    }
    EXPECT_STREQ(Str::IFind("xhXHeLLo", "hello"), "HeLLo");
    EXPECT_STREQ(Str::IFind("ab", ""), "ab");
    EXPECT_EQ(Str::IFind("ab", "abc"), nullptr);
}

TEST(Str, SkipsTrimsAndRaises) {
    EXPECT_STREQ(Str::SkipWhite(" \t\r\n\v\fx "), "x ");
    EXPECT_STREQ(Str::SkipWhite("\xA0x"), "\xA0x");
    const char* const trims[][2] = {{"a b \n", "a b"}, {"   ", ""}, {"", ""}, {" \xA0 ", " \xA0"}};
    for (const auto& [before, after] : trims) {
        std::string text(" ");
        text += before;
        EXPECT_STREQ(Str::TrimWhite(text.data() + 1), after);
        EXPECT_EQ(text.find_last_not_of('\0'), std::strlen(after));  // cleared, but not in front
    }
    char text[] = "a\xC3\x9Fz`{";
    EXPECT_STREQ(Str::ToUpper(text), "A\xC3\x9FZ`{");
}

TEST(Str, WritesNumbers) {
    char buffer[Str::cMaxNumberText];
    const std::tuple<long, unsigned, const char*> cases[] = {
        {0L, 10U, "0"},          {255L, 16U, "ff"},
        {35L, 36U, "z"},         {-1L, 16U, "ffffffff"},
        {4294967296L, 10U, "0"}, {2147483648L, 10U, "2147483648"},
        {LONG_MIN, 10U, "-0"},   {-5L, 10U, "-18446744069414584325"}};
    for (const auto& [value, radix, expected] : cases) {
        EXPECT_STREQ(Str::ToString(value, buffer, radix), expected) << value;
    }
    EXPECT_STREQ(Str::ToString(ULONG_MAX, buffer, 10, false), "18446744073709551615");
    EXPECT_STREQ(Str::ToString(5UL, buffer, 10, true), "-18446744073709551611");
    EXPECT_EQ(Str::ToString(1UL, buffer, 2, true), std::string(64, '1').insert(0, 1, '-'));
}

// The units as they lie in memory.
std::u16string units(const wchar_t* w, size_t count) {
    std::u16string text(count, u'\0');
    std::memcpy(text.data(), w, count * sizeof(char16_t));
    return text;
}

TEST(Str, PacksWideUnitsTwoToASlot) {
    setenv("TV_SYSTEM_ENCODING", "UTF-8", 1);
    wchar_t w[] = {7, 7, 7, 7, 7};
    EXPECT_EQ(Str::ToWStr("a\xC3\xA4z", w, 0), 3);
    EXPECT_EQ(units(w, 3), u"a\u00E4z");
    EXPECT_EQ(std::wstring(w + 2, 3), (std::wstring{7, 0, 7}));
    EXPECT_EQ(Str::ToWStr("\xFF", w, 5), 0);
    EXPECT_EQ(units(w, 3), u"a\u00E4z");
    std::string text(1001, 'q');
    const std::unique_ptr<wchar_t[]> made(Str::ToWStr((text + "\xF0\x9F\x98\x80").c_str()));
    EXPECT_EQ(units(made.get(), 1003), std::u16string(1001, u'q') + u"\U0001F600");
    EXPECT_EQ(std::wstring(made.get() + 502, 502), std::wstring(502, L'\0'));
    unsetenv("TV_SYSTEM_ENCODING");
}

TEST(Ch, WidensInTheSystemEncoding) {
    // One byte of the last gives four units.
    const std::tuple<const char*, char, wchar_t> cases[] = {{"ISO-8859-15", '\xA4', 0x20AC},
                                                            {"ISO-8859-15", 'A', 'A'},
                                                            {"UTF-8", '\xE4', 0},
                                                            {"TSCII", '\x82', 0x0BB8}};
    for (const auto& [encoding, byte, expected] : cases) {
        setenv("TV_SYSTEM_ENCODING", encoding, 1);
        EXPECT_EQ(Ch::ToWChar(byte), expected) << encoding;
    }
    unsetenv("TV_SYSTEM_ENCODING");
}

}  // namespace
