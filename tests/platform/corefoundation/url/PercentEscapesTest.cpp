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

std::u16string added(std::u16string_view text, const char16_t* left = nullptr,
                     const char16_t* escaped = nullptr,
                     CFStringEncoding encoding = kCFStringEncodingUTF8) {
    const auto set = [](const char16_t* units) {
        return Own(units != nullptr ? CFStringCreateCopy(nullptr, Str(units)) : nullptr);
    };
    return Text(Own(CFURLCreateStringByAddingPercentEscapes(nullptr, Str(text), set(left),
                                                            set(escaped), encoding)));
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
    EXPECT_EQ(
        Text(Own(CFURLCreateStringByReplacingPercentEscapes(nullptr, Str(u"%C3%A9"), Str(u"")))),
        u"é");
}

TEST(PercentEscapes, AddingLeavesExactlyTheLegalCharacters) {
    std::u16string ascii, expected;
    for (char16_t c = 0; c < 0x80; ++c) {
        ascii.push_back(c);
        const bool plain =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
            std::u16string_view(u"!$&'()*+,-./:;=?@_~").find(c) != std::u16string_view::npos;
        if (plain) {
            expected.push_back(c);
        } else {
            const char16_t* digits = u"0123456789ABCDEF";
            expected += {u'%', digits[c / 16], digits[c % 16]};
        }
    }
    EXPECT_EQ(added(ascii), expected);
    EXPECT_EQ(added(u"é☺𝄞"), u"%C3%A9%E2%98%BA%F0%9D%84%9E");
    EXPECT_EQ(added(u"\xD834x"), u"<null>") << "half a pair";
}

TEST(PercentEscapes, TheTwoSetsMoveTheBorder) {
    EXPECT_EQ(added(u"a b#é𝄞/", u" é𝄞", u"a/"), u"%61 b%23é𝄞%2F");
    EXPECT_EQ(added(u"x y", u" x", u"x "), u"%78%20y") << "in both: escaped";
    EXPECT_EQ(added(u"é", nullptr, nullptr, kCFStringEncodingISOLatin1), u"%E9");
    EXPECT_EQ(added(u"☺", nullptr, nullptr, kCFStringEncodingISOLatin1), u"<null>");
    EXPECT_EQ(added(u"☺", u"☺", nullptr, kCFStringEncodingISOLatin1), u"☺");
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
