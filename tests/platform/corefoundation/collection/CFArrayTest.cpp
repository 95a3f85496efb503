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
    EXPECT_TRUE(CFArrayGetValueAtIndex(array, 1) == nullptr &&
                CFArrayGetValueAtIndex(array, -1) == nullptr);
    CFArrayRemoveAllValues(const_cast<CFMutableArrayRef>(fixed.Get()));
    EXPECT_EQ(Dump(array) + Dump(fixed), u"[c][a,b]");
    CFArrayRemoveAllValues(array);
    EXPECT_EQ(CFGetRetainCount(value), 1);
    EXPECT_EQ(CFArrayCreate(nullptr, values, 3, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, values, -1, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayGetCount(Own(CFArrayCreate(nullptr, values, 3, nullptr))), 3);
}

}  // namespace
