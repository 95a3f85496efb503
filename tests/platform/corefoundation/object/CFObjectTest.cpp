#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <vector>

using namespace tvtest;

namespace {

// Nests an array in itself `depth` times over, with a string inmost.
Owned<CFTypeRef> nest(int depth, std::u16string_view inmost) {
    Owned<CFTypeRef> nested(CFRetain(Str(inmost)));
    for (int i = 0; i < depth; ++i) {
        const void* value = nested;
        nested = Owned<CFTypeRef>(CFArrayCreate(nullptr, &value, 1, &kCFTypeArrayCallBacks));
    }
    return nested;
}

TEST(CFObject, NullIsHarmless) {
    EXPECT_EQ(CFRetain(nullptr), nullptr);
    CFRelease(nullptr);
    EXPECT_EQ(CFGetRetainCount(nullptr), 0);
    EXPECT_EQ(CFGetTypeID(nullptr), 0U);
    EXPECT_EQ(CFHash(nullptr), 0U);
    EXPECT_TRUE(CFEqual(nullptr, nullptr));
    EXPECT_FALSE(CFEqual(nullptr, kCFBooleanTrue));
    EXPECT_EQ(Text(Own(CFCopyDescription(nullptr))), u"(null)");
}

TEST(CFObject, CountsReferences) {
    const auto string = Str(u"x");
    EXPECT_EQ(CFGetRetainCount(string), 1);
    EXPECT_EQ(CFRetain(string), string);
    EXPECT_EQ(CFGetRetainCount(string), 2);
    CFRelease(string);
    EXPECT_EQ(CFGetRetainCount(string), 1);

    const CFTypeRef immortals[] = {CFSTR("immortal"), kCFBooleanTrue, kCFAllocatorNull};
    for (CFTypeRef immortal : immortals) {
        CFRelease(immortal);
        CFRelease(immortal);
        EXPECT_EQ(CFGetRetainCount(immortal), std::numeric_limits<CFIndex>::max());
    }
}

TEST(CFObject, CountsOnManyThreads) {
    const auto array = Own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    const auto string = Str(u"shared");
    CFArrayAppendValue(array, string);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 5000; ++n) {
                const void* value = string;
                Own(CFArrayCreate(nullptr, &value, 1, &kCFTypeArrayCallBacks));
                Own(CFArrayCreateCopy(nullptr, array));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(CFGetRetainCount(string), 2);
}

// Functions of each family, given an object of another one and null.
TEST(CFObject, AnotherTypeCountsAsNothing) {
    const auto list = Own(CFArrayCreateMutable(nullptr, 0, nullptr));
    for (const void* wrong : {static_cast<const void*>(nullptr), static_cast<const void*>(list)}) {
        const auto string = static_cast<CFStringRef>(wrong);
        const auto editable = static_cast<CFMutableStringRef>(const_cast<void*>(wrong));
        char buffer[4] = "abc";
        EXPECT_EQ(CFStringGetLength(string), 0);
        EXPECT_EQ(CFStringGetCharacterAtIndex(string, 0), 0);
        EXPECT_FALSE(CFStringGetCString(string, buffer, 4, kCFStringEncodingUTF8));
        EXPECT_STREQ(buffer, "abc");
        EXPECT_EQ(CFStringCreateCopy(nullptr, string), nullptr);
        EXPECT_EQ(CFStringCreateMutableCopy(nullptr, 0, string), nullptr);
        EXPECT_EQ(CFStringCreateWithFormat(nullptr, nullptr, string), nullptr);
        EXPECT_EQ(CFStringFind(string, CFSTR("x"), 0).location, kCFNotFound);
        EXPECT_EQ(CFStringFindAndReplace(editable, CFSTR("x"), CFSTR("y"), CFRangeMake(0, 0), 0),
                  0);
        EXPECT_EQ(CFStringCompare(string, CFSTR(""), 0), kCFCompareLessThan);
        CFStringAppend(editable, CFSTR("x"));

        EXPECT_FALSE(CFBooleanGetValue(static_cast<CFBooleanRef>(wrong)));
        int value = 7;
        EXPECT_FALSE(CFNumberGetValue(static_cast<CFNumberRef>(wrong), kCFNumberIntType, &value));
        EXPECT_EQ(value, 7);
        const auto data = static_cast<CFDataRef>(wrong);
        EXPECT_EQ(CFDataGetLength(data), 0);
        EXPECT_EQ(CFDataGetBytePtr(data), nullptr);
        const auto dictionary = static_cast<CFDictionaryRef>(wrong);
        EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
        EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("x")), nullptr);
        EXPECT_EQ(CFDictionaryCreateCopy(nullptr, dictionary), nullptr);
        CFDictionarySetValue(static_cast<CFMutableDictionaryRef>(const_cast<void*>(wrong)),
                             CFSTR("x"), CFSTR("y"));
    }
    EXPECT_EQ(CFArrayGetCount(static_cast<CFArrayRef>(static_cast<CFTypeRef>(CFSTR("x")))), 0);
    EXPECT_EQ(CFArrayGetCount(list), 0);
}

// Were any of this to recurse without bound, the stack would not suffice.
TEST(CFObject, NestingHasNoDepthThatCrashes) {
    const auto a = nest(300000, u"x");
    const auto b = nest(300000, u"x");
    EXPECT_FALSE(CFEqual(a, b));
    EXPECT_TRUE(CFEqual(a, a));
    EXPECT_EQ(CFHash(a), CFHash(b));
}

TEST(CFObject, ComparesNestedObjectsByValue) {
    EXPECT_TRUE(CFEqual(nest(100, u"x"), nest(100, u"x")));
    EXPECT_FALSE(CFEqual(nest(100, u"x"), nest(100, u"y")));
    EXPECT_FALSE(CFEqual(nest(100, u"x"), nest(101, u"x")));
}

}  // namespace
