// Arrays and data.
#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <limits>

using namespace tvtest;

namespace {

std::u16string joined(CFArrayRef array) {
    std::u16string text;
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
        text += Text(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, i)));
    }
    return text;
}

TEST(CFArray, EditsMutableArraysOnly) {
    const void* values[] = {CFSTR("a"), CFSTR("b")};
    const auto fixed = Own(CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks));
    const auto array = Own(CFArrayCreateMutableCopy(nullptr, 0, fixed));
    for (const CFMutableArrayRef target :
         {array.Get(), const_cast<CFMutableArrayRef>(fixed.Get())}) {
        CFArrayAppendValue(target, CFSTR("c"));
        CFArrayInsertValueAtIndex(target, 0, CFSTR("0"));
        CFArraySetValueAtIndex(target, 1, CFSTR("A"));
        CFArraySetValueAtIndex(target, 4, CFSTR("d"));
        CFArrayRemoveValueAtIndex(target, 2);
        // Out of range, or nothing to store.
        CFArrayInsertValueAtIndex(target, 5, CFSTR("x"));
        CFArrayInsertValueAtIndex(target, -1, CFSTR("x"));
        CFArraySetValueAtIndex(target, 5, CFSTR("x"));
        CFArrayRemoveValueAtIndex(target, 4);
        CFArrayAppendValue(target, nullptr);
        CFArraySetValueAtIndex(target, 0, nullptr);
    }
    EXPECT_EQ(joined(array), u"0Acd");
    EXPECT_EQ(joined(fixed), u"ab");
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 4), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, -1), nullptr);
    CFArrayRemoveAllValues(array);
    EXPECT_EQ(CFArrayGetCount(array), 0);
    const void* holed[] = {CFSTR("a"), nullptr};
    EXPECT_EQ(CFArrayCreate(nullptr, holed, 2, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, holed, -1, &kCFTypeArrayCallBacks), nullptr);
}

TEST(CFArray, FindsByValueAndHoldsItsValues) {
    const auto array = Own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    const auto value = Str(u"b");
    for (const CFStringRef each : {CFSTR("a"), static_cast<CFStringRef>(value), CFSTR("b")}) {
        CFArrayAppendValue(array, each);
    }
    EXPECT_EQ(CFGetRetainCount(value), 2);
    EXPECT_EQ(CFArrayGetFirstIndexOfValue(array, CFRangeMake(0, 3), CFSTR("b")), 1);
    EXPECT_EQ(CFArrayGetFirstIndexOfValue(array, CFRangeMake(2, 1), CFSTR("b")), 2);
    EXPECT_FALSE(CFArrayContainsValue(array, CFRangeMake(0, 1), CFSTR("b")));
    EXPECT_FALSE(CFArrayContainsValue(array, CFRangeMake(0, 4), CFSTR("b")));
    const void* got[2] = {};
    CFArrayGetValues(array, CFRangeMake(2, 2), got);
    EXPECT_EQ(got[0], nullptr);
    CFArrayGetValues(array, CFRangeMake(1, 2), got);
    EXPECT_EQ(got[0], value);
    CFArraySetValueAtIndex(array, 1, CFSTR("c"));
    EXPECT_EQ(CFGetRetainCount(value), 1);
    CFArrayInsertValueAtIndex(array, 0, value);
    CFArrayRemoveValueAtIndex(array, 0);
    EXPECT_EQ(CFGetRetainCount(value), 1);
}

TEST(CFData, CopiesAndEdits) {
    const UInt8 bytes[] = {1, 2, 3};
    const auto fixed = Own(CFDataCreate(nullptr, bytes, 3));
    const auto data = Own(CFDataCreateMutableCopy(nullptr, 0, fixed));
    for (const CFMutableDataRef target : {data.Get(), const_cast<CFMutableDataRef>(fixed.Get())}) {
        CFDataAppendBytes(target, bytes, 2);
        CFDataSetLength(target, 6);
        CFDataSetLength(target, -1);
        CFDataAppendBytes(target, bytes, -1);
    }
    const UInt8 expected[] = {1, 2, 3, 1, 2, 0};
    EXPECT_TRUE(CFEqual(data, Own(CFDataCreate(nullptr, expected, 6))));
    EXPECT_FALSE(CFEqual(data, fixed));
    EXPECT_EQ(CFHash(fixed), CFHash(Own(CFDataCreate(nullptr, expected, 3))));
    EXPECT_EQ(CFDataGetLength(fixed), 3);
    EXPECT_EQ(CFDataGetMutableBytePtr(const_cast<CFMutableDataRef>(fixed.Get())), nullptr);
    UInt8 part[2] = {9, 9};
    CFDataGetBytes(data, CFRangeMake(5, 2), part);
    EXPECT_EQ(part[0], 9);
    CFDataGetBytes(data, CFRangeMake(2, 2), part);
    EXPECT_EQ(part[0], 3);
    EXPECT_EQ(part[1], 1);
    EXPECT_EQ(CFDataCreate(nullptr, nullptr, 1), nullptr);
    EXPECT_NE(CFDataGetBytePtr(Own(CFDataCreate(nullptr, nullptr, 0))), nullptr);
}

}  // namespace
