#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <random>

using namespace tvtest;

namespace {

constexpr CFStringCompareFlags cNoCase = kCFCompareCaseInsensitive;
constexpr CFStringCompareFlags cBack = kCFCompareBackwards;
constexpr CFStringCompareFlags cAnchored = kCFCompareAnchored;

TEST(CFStringSearch, Finds) {
    const struct {
        const char16_t* text;
        const char16_t* pattern;
        CFStringCompareFlags options;
        CFIndex place;
    } cases[] = {{u"abcabc", u"bc", 0, 1},
                 {u"abcabc", u"bc", cBack, 4},
                 {u"abcabc", u"bc", cAnchored, -1},
                 {u"abcabc", u"ab", cAnchored, 0},
                 {u"abcabc", u"ab", cAnchored | cBack, -1},
                 {u"abcabc", u"bc", cAnchored | cBack, 4},
                 {u"abcabc", u"BC", 0, -1},
                 {u"abcabc", u"BC", cNoCase, 1},
                 {u"aaab", u"aab", 0, 1},
                 {u"abababac", u"ababac", 0, 2},
                 {u"abc", u"abcd", 0, -1},
                 {u"abc", u"", 0, -1},
                 {u"ÀÉ straße", u"é", cNoCase, 1},
                 {u"ПРИВЕТ", u"вет", cNoCase, 3},
                 {u"ΣΟΦΟΣ", u"φος", cNoCase, 2},
                 {u"ŸŽ", u"ÿž", cNoCase, 0},
                 {u"[]", u"{", cNoCase, -1},
                 {u"×", u"÷", cNoCase, -1}};
    for (const auto& c : cases) {
        const CFRange found = CFStringFind(Str(c.text), Str(c.pattern), c.options);
        EXPECT_EQ(found.location, c.place) << testing::PrintToString(c.text) << c.options;
        EXPECT_EQ(found.length, c.place < 0 ? 0 : CFStringGetLength(Str(c.pattern)));
    }
    CFRange found = {7, 7};
    EXPECT_FALSE(CFStringFindWithOptions(CFSTR("abab"), CFSTR("ab"), CFRangeMake(1, 2), 0, &found));
    EXPECT_EQ(found.location, 7);
    EXPECT_TRUE(CFStringFindWithOptions(CFSTR("abab"), CFSTR("ab"), CFRangeMake(1, 3), 0, &found));
    EXPECT_EQ(found.location, 2);
}

TEST(CFStringSearch, Compares) {
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("a"), 0), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("ab"), CFSTR("a"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR(""), CFSTR("a"), cNoCase), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("B"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("B"), cNoCase), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(Str(u"Éa"), Str(u"éA"), cNoCase), kCFCompareEqualTo);
    EXPECT_TRUE(CFStringHasPrefix(CFSTR("abc"), CFSTR("ab")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("abc"), CFSTR("bc")));
    EXPECT_TRUE(CFStringHasSuffix(CFSTR("abc"), CFSTR("bc")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR("bc"), CFSTR("abc")));
}

TEST(CFStringSearch, Replaces) {
    const struct {
        const char16_t* text;
        const char16_t* pattern;
        const char16_t* replacement;
        CFStringCompareFlags options;
        CFIndex count;
        const char16_t* result;
    } cases[] = {{u"<n>, <n>!", u"<n>", u"World", 0, 2, u"World, World!"},
                 {u"aaa", u"a", u"aa", 0, 3, u"aaaaaa"},  // what was put in is not looked at
                 {u"aaa", u"aa", u"b", 0, 1, u"ba"},
                 {u"aaaaa", u"aa", u"b", cBack, 2, u"abb"},
                 {u"abab", u"ab", u"", 0, 2, u""},
                 {u"abab", u"ab", u"x", cAnchored, 1, u"xab"},
                 {u"abab", u"ab", u"x", cAnchored | cBack, 1, u"abx"},
                 {u"aBAb", u"AB", u"x", cNoCase, 2, u"xx"},
                 {u"abc", u"", u"x", 0, 0, u"abc"},
                 {u"", u"a", u"x", 0, 0, u""}};
    for (const auto& c : cases) {
        const auto text = MutableStr(c.text);
        EXPECT_EQ(CFStringFindAndReplace(text, Str(c.pattern), Str(c.replacement), Whole(text),
                                         c.options),
                  c.count);
        EXPECT_EQ(Text(text), c.result);
    }
    const auto part = MutableStr(u"aaaa");
    EXPECT_EQ(CFStringFindAndReplace(part, CFSTR("a"), CFSTR("-"), CFRangeMake(1, 2), 0), 2);
    EXPECT_EQ(Text(part), u"a--a");
}

// Against the plainest algorithm, on texts that repeat themselves.
TEST(CFStringSearch, ReplacesAsAPlainScanDoes) {
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
    for (const CFStringCompareFlags options : {CFStringCompareFlags{0}, cNoCase, cBack}) {
        EXPECT_EQ(CFStringFind(same, pattern, options).location, kCFNotFound);
    }
}

}  // namespace
