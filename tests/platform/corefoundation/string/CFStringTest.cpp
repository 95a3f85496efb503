#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <set>
#include <thread>

using namespace tvtest;

namespace {

constexpr CFIndex cHuge = std::numeric_limits<CFIndex>::max();

TEST(CFString, ConstantsAreOneObjectForOneText) {
    char same[] = "Example text";
    CFStringRef constant = CFSTR("Example text");
    EXPECT_EQ(__CFStringMakeConstantString(same), constant);
    // The same address with another text is another constant.
    same[0] = 'e';
    EXPECT_EQ(Text(__CFStringMakeConstantString(same)), u"example text");
    EXPECT_EQ(Text(CFSTR("stra\xC3\x9F"
                         "e")),
              u"straße");
    EXPECT_EQ(CFSTR("\xFF"), nullptr);
    EXPECT_EQ(__CFStringMakeConstantString(nullptr), nullptr);
}

TEST(CFString, ConstantsAreOneObjectOnManyThreads) {
    std::vector<std::set<CFStringRef>> seen(4);
    std::vector<std::thread> threads;
    for (auto& own : seen) {
        threads.emplace_back([&own] {
            for (int i = 0; i < 500; ++i) {
                own.insert(__CFStringMakeConstantString(std::to_string(i).c_str()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(seen[0].size(), 500U);
    for (const auto& own : seen) {
        EXPECT_EQ(own, seen[0]);
    }
}

TEST(CFString, EqualTextsAreEqualWhateverTheyWereMadeFrom) {
    const auto latin =
        Own(CFStringCreateWithCString(nullptr, "M\xFCller", kCFStringEncodingISOLatin1));
    const auto utf8 =
        Own(CFStringCreateWithCString(nullptr, "M\xC3\xBCller", kCFStringEncodingUTF8));
    const auto changed = MutableStr(u"Mül");
    CFStringAppend(changed, CFSTR("ler"));
    for (CFStringRef other :
         {utf8.Get(), static_cast<CFStringRef>(changed), CFSTR("M\xC3\xBCller")}) {
        EXPECT_TRUE(CFEqual(latin, other));
        EXPECT_EQ(CFHash(latin), CFHash(other));
    }
    EXPECT_FALSE(CFEqual(latin, CFSTR("Muller")));
    EXPECT_FALSE(CFEqual(Str(u"a"), Str(std::u16string_view(u"a\0", 2))));
}

TEST(CFString, NoCopyTakesTheBytesOnlyWhenItSucceeds) {
    char bytes[] = "borrowed";
    const auto borrowed = Own(
        CFStringCreateWithCStringNoCopy(nullptr, bytes, kCFStringEncodingUTF8, kCFAllocatorNull));
    std::memset(bytes, 'x', sizeof bytes - 1);
    EXPECT_EQ(Text(borrowed), u"borrowed");

    // Freed by the string, or a leak that AddressSanitizer reports.
    for (CFAllocatorRef allocator : {kCFAllocatorDefault, kCFAllocatorMalloc}) {
        const auto given = Own(CFStringCreateWithCStringNoCopy(nullptr, strdup("given"),
                                                               kCFStringEncodingUTF8, allocator));
        EXPECT_EQ(Text(given), u"given");
    }
    char* refused = strdup("\xFF");
    EXPECT_EQ(CFStringCreateWithCStringNoCopy(nullptr, refused, kCFStringEncodingUTF8, nullptr),
              nullptr);
    EXPECT_STREQ(refused, "\xFF");
    std::free(refused);
}

TEST(CFString, RangesOutsideTheStringDoNothing) {
    const auto string = Str(u"abc");
    for (const CFRange range :
         {CFRange{-1, 1}, {0, 4}, {4, 0}, {1, -1}, {3, 1}, {cHuge, 1}, {1, cHuge}}) {
        SCOPED_TRACE(std::to_string(range.location) + " " + std::to_string(range.length));
        UniChar unit = 7;
        CFStringGetCharacters(string, range, &unit);
        EXPECT_EQ(unit, 7);
        EXPECT_EQ(CFStringCreateWithSubstring(nullptr, string, range), nullptr);
        const auto changing = MutableStr(u"abc");
        EXPECT_EQ(CFStringFindAndReplace(changing, CFSTR("b"), CFSTR("x"), range, 0), 0);
        EXPECT_EQ(Text(changing), u"abc");
    }
    EXPECT_EQ(CFStringGetCharacterAtIndex(string, 2), u'c');
    EXPECT_EQ(CFStringGetCharacterAtIndex(string, 3) + CFStringGetCharacterAtIndex(string, -1), 0);
    EXPECT_EQ(Text(Own(CFStringCreateWithSubstring(nullptr, string, CFRangeMake(3, 0)))), u"");
    const UniChar unit = u'x';
    EXPECT_EQ(CFStringCreateWithCharacters(nullptr, nullptr, 1), nullptr);
    EXPECT_EQ(CFStringCreateWithCharacters(nullptr, &unit, -1), nullptr);
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, nullptr, -1, kCFStringEncodingUTF8, false), nullptr);
}

TEST(CFString, EditsMutableStringsOnly) {
    const auto fixed = Str(u"abc");
    const auto string = MutableStr(u"abc");
    for (const CFMutableStringRef target :
         {string.Get(), const_cast<CFMutableStringRef>(fixed.Get())}) {
        CFStringReplaceAll(target, CFSTR("xy"));
        CFStringAppend(target, CFSTR("z"));
        CFStringAppendCString(target, "\xC3\xA9", kCFStringEncodingUTF8);
        CFStringAppendCString(target, "\xC3", kCFStringEncodingUTF8);
        CFStringAppendFormat(target, nullptr, CFSTR("%d"), 3);
        CFStringAppendFormat(target, nullptr, CFSTR("added %n"), nullptr);
        CFStringFindAndReplace(target, CFSTR("y"), CFSTR("<>"), CFRangeMake(0, 3), 0);
    }
    EXPECT_EQ(Text(string), u"x<>zé3");
    EXPECT_EQ(Text(fixed), u"abc");
    EXPECT_EQ(Own(CFStringCreateCopy(nullptr, fixed)), fixed);
    const auto copy = Own(CFStringCreateCopy(nullptr, string));
    CFStringAppend(string, CFSTR("!"));
    EXPECT_EQ(Text(copy), u"x<>zé3");
}

TEST(CFString, CanBePutIntoItself) {
    const auto string = MutableStr(u"aabb");
    for (int i = 0; i < 4; ++i) {
        CFStringAppend(string, string);
    }
    EXPECT_EQ(CFStringGetLength(string), 64);
    CFStringReplaceAll(string, string);
    EXPECT_EQ(CFStringFindAndReplace(string, string, string, Whole(string), 0), 1);
    EXPECT_EQ(CFStringFindAndReplace(string, CFSTR("aa"), string, CFRangeMake(0, 4), 0), 1);
    EXPECT_EQ(CFStringGetLength(string), 64 - 2 + 64);
}

}  // namespace
