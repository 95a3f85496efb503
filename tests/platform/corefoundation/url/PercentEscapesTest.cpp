#include "tests/platform/coreservices/FileTestSupport.h"

#include <gtest/gtest.h>

using namespace tvtest;

namespace {

std::u16string Replaced(std::u16string_view text, const char16_t* kept = u"",
                        CFStringEncoding encoding = kCFStringEncodingUTF8) {
    const auto set = Own(kept != nullptr ? CFStringCreateCopy(nullptr, Str(kept)) : nullptr);
    return Text(Own(CFURLCreateStringByReplacingPercentEscapesUsingEncoding(nullptr, Str(text), set,
                                                                            encoding)));
}

std::u16string added(std::u16string_view text, const char16_t* left = u"",
                     const char16_t* escaped = u"",
                     CFStringEncoding encoding = kCFStringEncodingUTF8) {
    return Text(Own(CFURLCreateStringByAddingPercentEscapes(nullptr, Str(text), Str(left),
                                                            Str(escaped), encoding)));
}

TEST(PercentEscapes, ReplacingDecodesWholeRuns) {
    const std::pair<std::u16string_view, std::u16string_view> cases[] = {
        {u"", u""},
        {u"a%20b%25", u"a b%"},
        {u"%C3%a9%E2%98%BA%F0%9D%84%9E", u"é☺𝄞"},
        {u"é%C3%A9", u"éé"},
        {u"a%00b", {u"a\0b", 3}}};
    for (const auto& [text, replaced] : cases) {
        EXPECT_EQ(Replaced(text), replaced);
    }
    for (const char16_t* text : {u"%", u"%4", u"a%4g", u"%-1", u"%\uFF11\uFF11", u"%FF", u"%C3",
                                 u"%C3a%A9", u"%ED%A0%80", u"%C0%80"}) {
        EXPECT_EQ(Replaced(text), u"<null>") << testing::PrintToString(text);
    }
    EXPECT_EQ(Replaced(u"%E9", u"", kCFStringEncodingISOLatin1), u"é");
    EXPECT_EQ(Replaced(u"%E9", u"", kCFStringEncodingInvalidId), u"<null>");
}

TEST(PercentEscapes, SomeStayEscaped) {
    EXPECT_EQ(Replaced(u"a%2Fb%2fc%20%C3%A9", u"/éÃ"), u"a%2Fb%2fc é");
    EXPECT_EQ(Replaced(u"%41%", nullptr), u"%41%") << "null leaves everything";
    EXPECT_EQ(Text(Own(CFURLCreateStringByAddingPercentEscapes(nullptr, CFSTR("a b"), nullptr,
                                                               nullptr, kCFStringEncodingUTF8))),
              u"a%20b");
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
    EXPECT_EQ(added(u"é☺𝄞"), u"%C3%A9%E2%98%BA%F0%9D%84%9E");
    EXPECT_EQ(added(u"\xD834x"), u"<null>") << "half a pair";
}

TEST(PercentEscapes, TheTwoSetsMoveTheBorder) {
    EXPECT_EQ(added(u"a b#é𝄞/", u" é𝄞", u"a/"), u"%61 b%23é𝄞%2F");
    EXPECT_EQ(added(u"x y", u" x", u"x "), u"%78%20y") << "in both: escaped";
    EXPECT_EQ(added(u"é", u"", u"", kCFStringEncodingISOLatin1), u"%E9");
    EXPECT_EQ(added(u"☺", u"", u"", kCFStringEncodingISOLatin1), u"<null>");
    EXPECT_EQ(added(u"☺", u"☺", u"", kCFStringEncodingISOLatin1), u"☺");
}

TEST(PercentEscapes, ManyRunsAreLinear) {
    std::u16string plain, escaped;
    for (int i = 0; i < 200000; ++i) {
        plain += u"é-";
        escaped += u"%C3%A9-";
    }
    EXPECT_TRUE(added(plain) == escaped);
    EXPECT_TRUE(Replaced(escaped) == plain);
}

}  // namespace
