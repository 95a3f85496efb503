#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

using namespace tvtest;

namespace {

TEST(CFArray, OnlyMutableOnesChange) {
    const void* values[] = {CFSTR("a"), CFSTR("b"), nullptr};
    const auto fixed = Own(CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks));
    const auto array = Own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    const auto value = Str(u"c");
    for (const CFArrayRef target : {CFArrayRef{array}, fixed.Get()}) {
        CFArrayAppendValue(const_cast<CFMutableArrayRef>(target), value);
        CFArrayAppendValue(const_cast<CFMutableArrayRef>(target), nullptr);
    }
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 1), nullptr);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, -1), nullptr);
    EXPECT_EQ(Own(CFArrayCreateCopy(nullptr, fixed)), fixed);
    const auto copy = Own(CFArrayCreateCopy(nullptr, array));
    CFArrayRemoveAllValues(array);
    CFArrayRemoveAllValues(const_cast<CFMutableArrayRef>(copy.Get()));
    EXPECT_EQ(Dump(array) + Dump(copy) + Dump(fixed), u"[][c][a,b]");
    EXPECT_EQ(CFGetRetainCount(value), 2);
    EXPECT_EQ(CFArrayCreate(nullptr, values, 3, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, values, -1, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayGetCount(Own(CFArrayCreate(nullptr, values, 3, nullptr))), 3);
}

}  // namespace
