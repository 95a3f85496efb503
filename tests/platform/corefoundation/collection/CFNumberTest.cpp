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

template <class T>
void expectRoundTrip(CFNumberType type, CFNumberType kept) {
    for (const T value :
         {std::numeric_limits<T>::lowest(), T{}, T{1}, std::numeric_limits<T>::max()}) {
        const auto number = Own(CFNumberCreate(nullptr, type, &value));
        EXPECT_EQ(As<T>(number, type), std::pair(value, true)) << type;
        EXPECT_EQ(CFNumberGetType(number), kept);
        EXPECT_EQ(CFNumberIsFloatType(number), std::is_floating_point_v<T>);
    }
}

TEST(CFNumber, EveryTypeRoundTrips) {
    expectRoundTrip<std::int8_t>(kCFNumberSInt8Type, kCFNumberSInt8Type);
    expectRoundTrip<std::int16_t>(kCFNumberSInt16Type, kCFNumberSInt16Type);
    expectRoundTrip<std::int32_t>(kCFNumberSInt32Type, kCFNumberSInt32Type);
    expectRoundTrip<std::int64_t>(kCFNumberSInt64Type, kCFNumberSInt64Type);
    expectRoundTrip<float>(kCFNumberFloat32Type, kCFNumberFloat32Type);
    expectRoundTrip<double>(kCFNumberFloat64Type, kCFNumberFloat64Type);
    expectRoundTrip<short>(kCFNumberShortType, kCFNumberSInt16Type);
    expectRoundTrip<int>(kCFNumberIntType, kCFNumberSInt32Type);
    expectRoundTrip<CFIndex>(kCFNumberCFIndexType,
                             sizeof(CFIndex) == 8 ? kCFNumberSInt64Type : kCFNumberSInt32Type);
    for (const CFNumberType unknown : {CFNumberType{0}, CFNumberType{-1}, CFNumberType{17}}) {
        double value = 1;
        EXPECT_EQ(CFNumberCreate(nullptr, unknown, &value), nullptr);
        EXPECT_FALSE(CFNumberGetValue(Int(1), unknown, &value));
        EXPECT_EQ(value, 1);
    }
    EXPECT_EQ(CFNumberCreate(nullptr, kCFNumberIntType, nullptr), nullptr);
}

TEST(CFNumber, TellsWhatDoesNotFit) {
    using Byte = std::int8_t;
    EXPECT_EQ(As<Byte>(Int(128), kCFNumberSInt8Type), std::pair(Byte{127}, false));
    EXPECT_EQ(As<Byte>(Int(-129), kCFNumberSInt8Type), std::pair(Byte{-128}, false));
    const std::tuple<double, std::int64_t, bool> fromDouble[] = {
        {1.0, 1, true},  {-1.5, -1, false},          {1e300, INT64_MAX, false},
        {NAN, 0, false}, {-0x1p63, INT64_MIN, true}, {0x1p63, INT64_MAX, false}};
    for (const auto& [value, stored, exact] : fromDouble) {
        EXPECT_EQ(As<std::int64_t>(Double(value), kCFNumberSInt64Type), std::pair(stored, exact));
    }
    // Not 1, which cutting the upper half off would give.
    EXPECT_EQ(As<int>(Int(0x100000001), kCFNumberIntType), std::pair(INT32_MAX, false));
    EXPECT_EQ(As<int>(Double(1e300), kCFNumberIntType), std::pair(INT32_MAX, false));
    EXPECT_EQ(As<double>(Int(0x20000000000001), kCFNumberDoubleType),
              std::pair(0x20000000000000p0, false));
    EXPECT_EQ(As<double>(Int(INT64_MAX), kCFNumberDoubleType), std::pair(0x1p63, false));
    EXPECT_EQ(As<float>(Double(0.1), kCFNumberFloatType), std::pair(0.1F, false));
    EXPECT_EQ(As<float>(Double(-1e300), kCFNumberFloatType),
              std::pair(std::numeric_limits<float>::lowest(), false));
    EXPECT_EQ(As<float>(Double(HUGE_VAL), kCFNumberFloatType), std::pair(HUGE_VALF, true));
    EXPECT_TRUE(As<float>(Double(NAN), kCFNumberFloatType).second);
}

TEST(CFNumber, OrdersByValueAcrossTypes) {
    // A rank, and a number of that rank.
    std::vector<std::pair<int, Owned<CFNumberRef>>> numbers;
    for (const auto& [rank, value] : {std::pair(0, NAN),
                                      {0, -NAN},
                                      {1, -HUGE_VAL},
                                      {2, -0x1p63},
                                      {3, -0.5},
                                      {4, -0.0},
                                      {5, 0x20000000000000p0},
                                      {8, 0x1p63}}) {
        numbers.emplace_back(rank, Double(value));
    }
    // 2 to the power of 53, plus 1, is no double.
    for (const auto& [rank, value] :
         {std::pair(2, INT64_MIN), {4, 0}, {6, 0x20000000000001}, {7, INT64_MAX}}) {
        numbers.emplace_back(rank, Int(value));
    }
    for (const auto& [i, a] : numbers) {
        for (const auto& [k, b] : numbers) {
            EXPECT_EQ(CFNumberCompare(a, b, nullptr), (i > k) - (i < k)) << i << ' ' << k;
            EXPECT_EQ(CFEqual(a, b), i == k);
            EXPECT_TRUE(i != k || CFHash(a) == CFHash(b)) << i;
        }
    }
}

}  // namespace
