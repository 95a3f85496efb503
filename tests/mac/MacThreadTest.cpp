#include "mac/MacThreadCondition.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>
#include <tuple>

namespace {

TEST(MacThreadCondition, DeadlineCarriesOnceAndKeepsNegativeRests) {
    const std::tuple<timeval, int, timespec> cases[] = {
        {{10, 600000}, 1500, {12, 100000000}}, {{10, 0}, 0, {10, 0}},
        {{10, 999999}, 0, {10, 999999000}},    {{10, 500000}, 500, {11, 0}},
        {{10, 600000}, -1500, {9, 100000000}}, {{10, 200000}, -1500, {9, -300000000}},
    };
    for (const auto& [now, milliseconds, expected] : cases) {
        const timespec deadline = MacThreadCondition::Deadline(now, milliseconds);
        EXPECT_EQ(deadline.tv_sec, expected.tv_sec) << milliseconds;
        EXPECT_EQ(deadline.tv_nsec, expected.tv_nsec) << milliseconds;
    }
}

TEST(MacThreadCondition, WaitsForAValueOrUntilTheTimeIsOver) {
    MacThreadCondition condition(1);
    EXPECT_EQ(condition.DoWait(0, 1, true), 0);
    EXPECT_EQ(condition.DoWait(0, 2, true), ETIMEDOUT);
    std::thread second([&] { condition.Set(2); });
    EXPECT_EQ(condition.WaitTilCondition(2), 0);
    second.join();
    std::thread third([&] { condition.Set(3); });
    constexpr int cLong = 300'000;
    EXPECT_EQ(condition.DoWait(cLong, 3, true), 0);
    third.join();
}

}  // namespace
