#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <random>

using namespace tvtest;

namespace {

TEST(CFStringSearch, Compares) {
    // Texts in their order, which is that of the units.
    const std::u16string_view texts[] = {u"", u"B", u"a", u"ab", u"b", u"é", u"\xFFFF"};
    for (const auto a : texts) {
        for (const auto b : texts) {
            EXPECT_EQ(CFStringCompare(Str(a), Str(b), 0), (a > b) - (a < b));
            EXPECT_EQ(CFStringHasPrefix(Str(a), Str(b)), a.starts_with(b));
            EXPECT_EQ(CFStringHasSuffix(Str(a), Str(b)), a.ends_with(b));
        }
    }
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
        ASSERT_EQ(found.location, static_cast<CFIndex>(text.find(pattern)));
        ASSERT_EQ(found.length, count > 0 ? static_cast<CFIndex>(pattern.size()) : 0);
    }
}

}  // namespace
