#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

using namespace tvtest;

namespace {

const CFStringRef cA = CFSTR("a"), cB = CFSTR("b"), cC = CFSTR("c"), cD = CFSTR("d");

Owned<CFDictionaryRef> dictionaryOf(const void** keys, const void** values, CFIndex count) {
    return Own(CFDictionaryCreate(nullptr, keys, values, count, &kCFTypeDictionaryKeyCallBacks,
                                  &kCFTypeDictionaryValueCallBacks));
}

TEST(CFDictionary, OnlyMutableOnesChange) {
    const void* keys[] = {cA, cB, cA, nullptr};
    const void* values[] = {CFSTR("1"), CFSTR("2"), CFSTR("3"), CFSTR("4")};
    const auto fixed = dictionaryOf(keys, values, 3);
    const auto dictionary = Own(CFDictionaryCreateMutableCopy(nullptr, 0, fixed));
    for (const CFDictionaryRef any : {fixed.Get(), CFDictionaryRef{dictionary}}) {
        const auto target = const_cast<CFMutableDictionaryRef>(any);
        CFDictionaryAddValue(target, cB, CFSTR("8"));
        CFDictionaryAddValue(target, cC, CFSTR("9"));
        CFDictionarySetValue(target, cB, CFSTR("7"));
        CFDictionarySetValue(target, cD, CFSTR("6"));
        CFDictionaryRemoveValue(target, cA);
        CFDictionaryRemoveValue(target, cA);
        CFDictionaryAddValue(target, cA, nullptr);
        CFDictionaryAddValue(target, nullptr, cA);
        CFDictionarySetValue(target, cB, nullptr);
        CFDictionarySetValue(target, nullptr, cB);
        CFDictionaryRemoveValue(target, nullptr);
    }
    // The first of equal keys is kept.
    EXPECT_EQ(Dump(fixed) + Dump(dictionary), u"{a=1,b=2}{b=7,c=9,d=6}");
    EXPECT_EQ(dictionaryOf(keys, values, 4), nullptr);
    EXPECT_EQ(dictionaryOf(values, keys, 4), nullptr);
    EXPECT_TRUE(dictionaryOf(nullptr, values, 1) == nullptr &&
                dictionaryOf(keys, values, -1) == nullptr);
    const auto bare = Own(CFDictionaryCreate(nullptr, values, keys, 4, nullptr, nullptr));
    const void* value = &value;
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(bare, cA, &value));
    EXPECT_EQ(value, &value);
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(bare, values[3], &value));
    EXPECT_EQ(value, nullptr) << "bare pointers may be null";
}

TEST(CFDictionary, CopiedStringKeysDoNotChange) {
    const auto dictionary = Own(CFDictionaryCreateMutable(
        nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const auto key = MutableStr(u"key");
    CFDictionarySetValue(dictionary, key, cA);
    CFStringReplaceAll(key, CFSTR("other"));
    CFDictionarySetValue(dictionary, Int(1), CFSTR("no string"));
    EXPECT_EQ(Dump(dictionary), u"{key=a}");
    const auto value = Str(u"b");
    CFDictionarySetValue(dictionary, CFSTR("key"), value);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    CFDictionarySetValue(dictionary, CFSTR("key"), cA);
    EXPECT_EQ(CFGetRetainCount(value), 1);
    // Its own value, which must not die in between.
    CFDictionarySetValue(dictionary, CFSTR("key"), Int(5));
    const void* own = CFDictionaryGetValue(dictionary, CFSTR("key"));
    CFDictionarySetValue(dictionary, CFSTR("key"), own);
    EXPECT_EQ(Dump(dictionary), u"{key=5}");
}

TEST(CFDictionary, EqualByValueWhateverTheOrder) {
    const auto one = MutableDict(), other = MutableDict();
    for (int i = 0; i < 100; ++i) {
        CFDictionarySetValue(one, Int(i), Int(i + 1));
        CFDictionarySetValue(other, Int(99 - i), Int(100 - i));
    }
    EXPECT_TRUE(CFEqual(one, other));
    EXPECT_EQ(CFHash(one), CFHash(other));
    CFDictionarySetValue(other, Int(50), cA);
    EXPECT_FALSE(CFEqual(one, other)) << "another value";
    CFDictionaryRemoveValue(other, Int(50));
    CFDictionarySetValue(other, Int(150), Int(51));
    EXPECT_FALSE(CFEqual(one, other)) << "another key";
}

}  // namespace
