#include "mac/MacThreadCondition.h"

#include <gtest/gtest.h>

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

}  // namespace
