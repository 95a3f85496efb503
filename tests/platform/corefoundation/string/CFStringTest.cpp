#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

using namespace tvtest;

namespace {

TEST(CFString, ConstantsAreOneObjectForOneText) {
    char same[] = "Example text";
    EXPECT_EQ(__CFStringMakeConstantString(same), CFSTR("Example text"));
    // The same address with another text is another constant.
    same[0] = 'e';
    EXPECT_EQ(Text(__CFStringMakeConstantString(same)), u"example text");
    EXPECT_TRUE(CFSTR("\xFF") == nullptr && __CFStringMakeConstantString(nullptr) == nullptr);
    std::vector<CFStringRef> seen[4];
    OnThreads(4, [&seen](int thread) {
        for (int i = 0; i < 500; ++i) {
            seen[thread].push_back(__CFStringMakeConstantString(std::to_string(i).c_str()));
        }
    });
    for (const auto& own : seen) {
        EXPECT_EQ(own, seen[0]);
    }
}

TEST(CFString, NoCopyTakesTheBytesOnlyWhenItSucceeds) {
    const auto make = [](char* bytes, CFAllocatorRef allocator) {
        return Text(
            Own(CFStringCreateWithCStringNoCopy(nullptr, bytes, kCFStringEncodingUTF8, allocator)));
    };
    char borrowed[] = "borrowed", refused[] = "\xFF";
    EXPECT_EQ(make(borrowed, kCFAllocatorNull), u"borrowed");
    EXPECT_EQ(make(refused, nullptr), u"<null>");
    // Freed by the string, or a leak that AddressSanitizer reports.
    EXPECT_EQ(make(strdup("given"), kCFAllocatorDefault), u"given");
}

TEST(CFString, RangesOutsideTheStringDoNothing) {
    constexpr CFIndex cHuge = std::numeric_limits<CFIndex>::max();
    const auto string = MutableStr(u"abc");
    for (const CFRange range :
         {CFRange{-1, 1}, {0, 4}, {4, 0}, {1, -1}, {3, 1}, {cHuge, 1}, {1, cHuge}}) {
        UniChar unit = 7;
        CFStringGetCharacters(string, range, &unit);
        EXPECT_EQ(unit, 7) << range.location << ' ' << range.length;
    }
    EXPECT_EQ(CFStringGetCharacterAtIndex(string, 3) + CFStringGetCharacterAtIndex(string, -1), 0);
    const UniChar unit = u'x';
    EXPECT_EQ(CFStringCreateWithCharacters(nullptr, nullptr, 1), nullptr);
    EXPECT_EQ(CFStringCreateWithCharacters(nullptr, &unit, -1), nullptr);
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, nullptr, -1, kCFStringEncodingUTF8, false), nullptr);
}

TEST(CFString, EditsMutableStringsOnly) {
    const auto fixed = Str(u"abc");
    const auto string = MutableStr(u"abc");
    for (const CFStringRef any : {fixed.Get(), CFStringRef{string}}) {
        const auto target = const_cast<CFMutableStringRef>(any);
        CFStringReplaceAll(target, CFSTR("xy"));
        CFStringAppend(target, CFSTR("z"));
        CFStringAppendCString(target, "\xC3\xA9", kCFStringEncodingUTF8);
        CFStringAppendCString(target, "\xC3", kCFStringEncodingUTF8);
    }
    EXPECT_EQ(Own(CFStringCreateCopy(nullptr, fixed)), fixed);
    const auto copy = Own(CFStringCreateCopy(nullptr, string));
    CFStringAppend(string, CFSTR("!"));
    EXPECT_EQ(Text(fixed) + Text(copy) + Text(string), u"abcxyzéxyzé!");
    CFStringAppend(string, string);
    EXPECT_EQ(Text(string), u"xyzé!xyzé!") << "put into itself";
}

TEST(CFString, ComparesInTheOrderOfTheUnits) {
    const std::u16string_view texts[] = {u"", u"B", u"a", u"ab", u"b", u"é", u"\xFFFF"};
    for (const auto a : texts) {
        for (const auto b : texts) {
            EXPECT_EQ(CFStringCompare(Str(a), Str(b), 0), (a > b) - (a < b));
        }
    }
}

}  // namespace
