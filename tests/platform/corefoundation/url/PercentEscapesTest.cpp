#include "tests/platform/coreservices/FileTestSupport.h"

#include <gtest/gtest.h>

using namespace tvtest;

namespace {

// Returns a string, or null.
Owned<CFStringRef> setOf(const char16_t* units) {
    return units != nullptr ? Str(units) : Own(CFStringRef{});
}

std::u16string replaced(std::u16string_view text, const char16_t* kept = u"",
                        CFStringEncoding encoding = kCFStringEncodingUTF8) {
    return Text(Own(CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
        nullptr, Str(text), setOf(kept), encoding)));
}

std::u16string added(std::u16string_view text, const char16_t* left = u"",
                     const char16_t* escaped = u"",
                     CFStringEncoding encoding = kCFStringEncodingUTF8) {
    return Text(Own(CFURLCreateStringByAddingPercentEscapes(nullptr, Str(text), setOf(left),
                                                            setOf(escaped), encoding)));
}

TEST(PercentEscapes, ReplacingDecodesWholeRuns) {
    const std::pair<std::u16string_view, std::u16string_view> cases[] = {
        {u"%C3%a9%E2%98%BA%F0%9D%84%9E", u"é☺𝄞"},
        {u"é%C3%A9%25", u"éé%"},
        {u"a%00b", {u"a\0b", 3}}};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(replaced(text), expected);
    }
    for (const char16_t* text : {u"%", u"%4", u"a%4g", u"%-1", u"%\uFF11\uFF11", u"%FF", u"%C3",
                                 u"%C3a%A9", u"%ED%A0%80", u"%C0%80"}) {
        EXPECT_EQ(replaced(text), u"<null>") << testing::PrintToString(text);
    }
    EXPECT_EQ(replaced(u"%E9", u"", kCFStringEncodingISOLatin1), u"é");
    EXPECT_EQ(replaced(u"%E9", u"", kCFStringEncodingInvalidId), u"<null>");
    EXPECT_EQ(replaced(u"a%2Fb%2fc%20%C3%A9", u"/éÃ"), u"a%2Fb%2fc é") << "some stay escaped";
    EXPECT_EQ(replaced(u"%41%", nullptr), u"%41%") << "null leaves everything";
}

TEST(PercentEscapes, AddingLeavesExactlyTheLegalCharacters) {
    const std::u16string_view plain =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!$&'()*+,-./:;=?@_~";
    for (char16_t c = 0; c < 0x80; ++c) {
        const char16_t* digits = u"0123456789ABCDEF";
        const bool stays = plain.find(c) != std::u16string_view::npos;
        const std::u16string escape = {u'%', digits[c / 16], digits[c % 16]};
        EXPECT_EQ(added({&c, 1}), stays ? std::u16string(1, c) : escape);
    }
    EXPECT_EQ(added(u"é☺𝄞", nullptr, nullptr), u"%C3%A9%E2%98%BA%F0%9D%84%9E");
    EXPECT_EQ(added(u"\xD834x"), u"<null>") << "half a pair";
    // The two sets move the border.
    EXPECT_EQ(added(u"a b#é𝄞/", u" é𝄞", u"a/"), u"%61 b%23é𝄞%2F");
    EXPECT_EQ(added(u"x y", u" x", u"x "), u"%78%20y") << "in both: escaped";
    EXPECT_EQ(added(u"é", u"", u"", kCFStringEncodingISOLatin1), u"%E9");
    EXPECT_EQ(added(u"☺", u"", u"", kCFStringEncodingISOLatin1), u"<null>");
}

}  // namespace
