#include "text/Str.h"
#include "tests/support/TempHome.h"
#include "text/Ch.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>

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
}

TEST(Str, SkipsAndTrims) {
    EXPECT_STREQ(Str::SkipWhite("\xA0x"), "\xA0x");
    const char* const trims[][2] = {{"a b \n", "a b"}, {"   ", ""}, {" \xA0 ", " \xA0"}};
    for (const auto& [before, after] : trims) {
        std::string text = std::string(" ") + before;
        EXPECT_STREQ(Str::TrimWhite(text.data() + 1), after);
        EXPECT_EQ(text.find_last_not_of('\0'), std::strlen(after));  // cleared, but not in front
    }
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
    EXPECT_EQ(Str::ToString(1UL, buffer, 2, true), "-" + std::string(64, '1'));
}

TEST(Str, PacksWideUnitsTwoToASlot) {
    const tvtest::ScopedEnv utf8("TV_SYSTEM_ENCODING", "UTF-8");
    wchar_t w[] = {7, 7, 7, 7, 7};
    EXPECT_EQ(Str::ToWStr("a\xC3\xA4z", w, 0), 3);
    EXPECT_EQ(Str::ToWStr("\xFF", w, 5), 0) << "and changes nothing";
    EXPECT_EQ(std::wstring(w, 5), (std::wstring{0xE40061, 'z', 7, 0, 7}));
    const std::string text = std::string(1001, 'q') + "\xF0\x9F\x98\x80";
    const std::unique_ptr<wchar_t[]> made(Str::ToWStr(text.c_str()));
    std::wstring expected(500, 0x710071);
    expected += {static_cast<wchar_t>(0xD83D0071), 0xDE00};
    EXPECT_EQ(std::wstring(made.get(), text.size() + 1), expected + std::wstring(504, L'\0'));
    const tvtest::ScopedEnv tamil("TV_SYSTEM_ENCODING", "TSCII");
    EXPECT_EQ(Tova::Ch::ToWChar('\x82'), 0x0BB8) << "the first of four units for one byte";
}

}  // namespace
