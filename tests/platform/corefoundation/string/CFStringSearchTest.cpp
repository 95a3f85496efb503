#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <random>

using namespace tvtest;

namespace {

TEST(CFStringSearch, Compares) {
    const std::tuple<const char16_t*, const char16_t*, CFComparisonResult> cases[] = {
        {u"a", u"a", kCFCompareEqualTo},
        {u"ab", u"a", kCFCompareGreaterThan},
        {u"", u"a", kCFCompareLessThan},
        {u"a", u"B", kCFCompareGreaterThan},
        {u"é", u"\xFFFF", kCFCompareLessThan}};
    for (const auto& [a, b, expected] : cases) {
        EXPECT_EQ(CFStringCompare(Str(a), Str(b), 0), expected) << testing::PrintToString(a);
    }
    EXPECT_TRUE(CFStringHasPrefix(CFSTR("abc"), CFSTR("ab")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("abc"), CFSTR("bc")));
    EXPECT_TRUE(CFStringHasSuffix(CFSTR("abc"), CFSTR("bc")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR("bc"), CFSTR("abc")));
}

TEST(CFStringSearch, ReplacesInTheRangeOnly) {
    const auto text = MutableStr(u"aaaaa");
    EXPECT_EQ(CFStringFindAndReplace(text, CFSTR("a"), CFSTR("-"), CFRangeMake(1, 2), 0), 2);
    EXPECT_EQ(CFStringFindAndReplace(text, CFSTR("aa"), CFSTR(""), CFRangeMake(2, 2), 0), 0);
    EXPECT_EQ(CFStringFindAndReplace(text, CFSTR(""), CFSTR("x"), Whole(text), 0), 0);
    EXPECT_EQ(Text(text), u"a--aa");
    EXPECT_EQ(CFStringFind(text, CFSTR(""), 0).location, kCFNotFound);
}

// Against the plainest algorithm, on texts that repeat themselves.
TEST(CFStringSearch, FindsAndReplacesAsAPlainScanDoes) {
    std::mt19937 random(1);
    const auto any = [&random](size_t most) {
        std::u16string text(random() % (most + 1), u'a');
        for (char16_t& unit : text) {
            unit = random() % 4 == 0 ? u'b' : u'a';
        }
        return text;
    };
    for (int i = 0; i < 3000; ++i) {
        const std::u16string text = any(40);
        const std::u16string pattern = any(5) + u'a';
        const std::u16string replacement = any(3);
        std::u16string expected;
        CFIndex count = 0;
        for (size_t at = 0; at < text.size();) {
            if (text.compare(at, pattern.size(), pattern) == 0) {
                expected += replacement;
                at += pattern.size();
                ++count;
            } else {
                expected += text[at++];
            }
        }
        const auto string = MutableStr(text);
        ASSERT_EQ(CFStringFindAndReplace(string, Str(pattern), Str(replacement), Whole(string), 0),
                  count);
        ASSERT_EQ(Text(string), expected);
        const CFRange found = CFStringFind(Str(text), Str(pattern), 0);
        const size_t place = text.find(pattern);
        ASSERT_EQ(found.location, place != text.npos ? static_cast<CFIndex>(place) : kCFNotFound);
        ASSERT_EQ(found.length, place != text.npos ? CFStringGetLength(Str(pattern)) : 0);
    }
}

// Millions of places, and a pattern that nearly stands everywhere: with work for each place or each
// near miss in proportion to the length, this would not end today.
TEST(CFStringSearch, HugeTextsAreNoTrouble) {
    const auto text = MutableStr(std::u16string(2000000, u'a'));
    EXPECT_EQ(CFStringFindAndReplace(text, CFSTR("a"), CFSTR("bc"), Whole(text), 0), 2000000);
    EXPECT_EQ(CFStringGetLength(text), 4000000);
    const auto same = Str(std::u16string(2000000, u'a'));
    const auto pattern = Str(std::u16string(1000000, u'a') + u'b');
    EXPECT_EQ(CFStringFind(same, pattern, 0).location, kCFNotFound);
}

}  // namespace
