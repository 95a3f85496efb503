#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

using namespace tvtest;

namespace {

Owned<CFNumberRef> Double(double value) {
    return Own(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

// What CFNumberGetValue stores and returns for a type of that width.
template <class T>
std::pair<T, bool> As(CFNumberRef number, CFNumberType type) {
    T value{};
    const bool exact = CFNumberGetValue(number, type, &value);
    return {value, exact};
}

TEST(CFNumber, HasATypeOfFixedWidth) {
    const std::int8_t least = -128;
    const auto number = Own(CFNumberCreate(nullptr, kCFNumberSInt8Type, &least));
    EXPECT_EQ(As<std::int8_t>(number, kCFNumberSInt8Type), std::pair(least, true));
    EXPECT_EQ(std::tuple(CFNumberGetType(number), CFNumberGetType(Int(1))),
              std::tuple(kCFNumberSInt8Type, kCFNumberSInt64Type));
    for (const CFNumberType unknown : {0, -1, 17}) {
        double value = 1;
        EXPECT_EQ(CFNumberCreate(nullptr, unknown, &value), nullptr);
        EXPECT_FALSE(CFNumberGetValue(Int(1), unknown, &value) || value != 1);
    }
}

TEST(CFNumber, TellsWhatDoesNotFit) {
    EXPECT_EQ(As<std::int8_t>(Int(-129), kCFNumberSInt8Type), std::pair(std::int8_t{-128}, false));
    const std::tuple<double, std::int64_t, bool> fromDouble[] = {
        {1.0, 1, true},  {-1.5, -1, false},          {1e300, INT64_MAX, false},
        {NAN, 0, false}, {-0x1p63, INT64_MIN, true}, {0x1p63, INT64_MAX, false}};
    for (const auto& [value, stored, exact] : fromDouble) {
        EXPECT_EQ(As<std::int64_t>(Double(value), kCFNumberSInt64Type), std::pair(stored, exact));
    }
    // Not 1, which cutting the upper half off would give.
    EXPECT_EQ(As<int>(Int(0x100000001), kCFNumberIntType), std::pair(INT32_MAX, false));
    EXPECT_EQ(As<double>(Int(0x20000000000001), kCFNumberDoubleType), std::pair(0x1p53, false));
    EXPECT_EQ(As<float>(Double(0.1), kCFNumberFloatType), std::pair(0.1F, false));
    EXPECT_EQ(As<float>(Double(-1e300), kCFNumberFloatType),
              std::pair(std::numeric_limits<float>::lowest(), false));
    EXPECT_EQ(As<float>(Double(HUGE_VAL), kCFNumberFloatType), std::pair(HUGE_VALF, true));
    EXPECT_TRUE(As<float>(Double(NAN), kCFNumberFloatType).second);
}

TEST(CFNumber, OrdersByValueAcrossTypes) {
    // Numbers of the ranks below. 2 to the power of 53, plus 1, is no double.
    const auto numbers =
        ArrayOf({Double(NAN), Double(-NAN), Double(-HUGE_VAL), Double(-0x1p63), Int(INT64_MIN),
                 Double(-0.5), Double(-0.0), Int(0), Double(0x1p53), Int(0x20000000000001),
                 Int(INT64_MAX), Double(0x1p63)});
    const int ranks[] = {0, 0, 1, 2, 2, 3, 4, 4, 5, 6, 7, 8};
    for (int i = 0; i < 12; ++i) {
        for (int k = 0; k < 12; ++k) {
            const auto a = static_cast<CFNumberRef>(CFArrayGetValueAtIndex(numbers, i));
            const auto b = static_cast<CFNumberRef>(CFArrayGetValueAtIndex(numbers, k));
            EXPECT_EQ(CFNumberCompare(a, b, nullptr),
                      (ranks[i] > ranks[k]) - (ranks[i] < ranks[k]));
            EXPECT_EQ(CFEqual(a, b), ranks[i] == ranks[k]) << i << ' ' << k;
            EXPECT_TRUE(ranks[i] != ranks[k] || CFHash(a) == CFHash(b)) << i << ' ' << k;
        }
    }
}

}  // namespace
