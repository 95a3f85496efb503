// Arrays and data.
#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

using namespace tvtest;

namespace {

TEST(CFArray, OnlyMutableOnesChange) {
    const void* values[] = {CFSTR("a"), CFSTR("b"), nullptr};
    const auto fixed = Own(CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks));
    const auto array = Own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    const auto value = Str(u"c");
    for (const CFMutableArrayRef target :
         {array.Get(), const_cast<CFMutableArrayRef>(fixed.Get())}) {
        CFArrayAppendValue(target, value);
        CFArrayAppendValue(target, nullptr);
        CFArrayAppendValue(target, CFSTR("d"));
    }
    EXPECT_EQ(Dump(array) + Dump(fixed), u"[c,d][a,b]");
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 2), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, -1), nullptr);
    EXPECT_EQ(Own(CFArrayCreateCopy(nullptr, fixed)), fixed);
    const auto copy = Own(CFArrayCreateCopy(nullptr, array));
    CFArrayRemoveAllValues(array);
    CFArrayRemoveAllValues(const_cast<CFMutableArrayRef>(copy.Get()));
    EXPECT_EQ(Dump(array) + Dump(copy), u"[][c,d]");
    EXPECT_EQ(CFGetRetainCount(value), 2);
    EXPECT_EQ(CFArrayCreate(nullptr, values, 3, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, values, -1, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, nullptr, 1, nullptr), nullptr);
    const auto bare = Own(CFArrayCreate(nullptr, values, 3, nullptr));
    EXPECT_EQ(CFArrayGetCount(bare), 3);
}

TEST(CFData, HoldsBytes) {
    const UInt8 bytes[] = {1, 2, 3};
    const auto data = Own(CFDataCreate(nullptr, bytes, 3));
    const auto same = Own(CFDataCreate(nullptr, bytes, 3));
    EXPECT_EQ(CFDataGetLength(data), 3);
    EXPECT_EQ(CFDataGetBytePtr(data)[2], 3);
    EXPECT_TRUE(CFEqual(data, same));
    EXPECT_EQ(CFHash(data), CFHash(same));
    EXPECT_FALSE(CFEqual(data, Own(CFDataCreate(nullptr, bytes, 2))));
    EXPECT_EQ(CFDataCreate(nullptr, bytes, -1), nullptr);
    EXPECT_EQ(CFDataCreate(nullptr, nullptr, 1), nullptr);
    EXPECT_NE(CFDataGetBytePtr(Own(CFDataCreate(nullptr, nullptr, 0))), nullptr);
}

}  // namespace
