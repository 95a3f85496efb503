#include "text/CTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <limits>
#include <utility>

using Tova::CString;
using Tova::CTime;

namespace {

class Time : public testing::Test {
protected:
    static void SetZone(const char* zone) { setenv("TZ", zone, 1); }
    Time() { SetZone("UTC0"); }
    ~Time() override { unsetenv("TZ"); }
};

TEST_F(Time, NormalisesFields) {
    const std::pair<CTime, const char*> cases[] = {
        {CTime(2009, 1, 1, 0, 0, 0), "2009-01-01 00:00:00"},
        {CTime(2009, 2, 29, 12, 0, 0), "2009-03-01 12:00:00"},
        {CTime(2009, 13, 1, 0, 0, 0), "2010-01-01 00:00:00"},
        {CTime(2009, -12, 1, 0, 0, 0), "2007-12-01 00:00:00"},
        {CTime(2009, 3, 0, 25, 61, -1), "2009-03-01 02:00:59"},
        {CTime(-1000000, 12 * 1002009 + 1, 1, 0, 0, 0), "2009-01-01 00:00:00"}};
    for (const auto& [time, expected] : cases) {
        CString text;
        time.Format("%Y-%m-%d %H:%M:%S", text);
        EXPECT_STREQ(text.CStr(), expected);
    }
    EXPECT_EQ(CTime(INT_MAX, INT_MAX, 1, 0, 0, 0).Value(), -1);
    // The year alone is out of range; its months bring it back.
    EXPECT_EQ(CTime(INT_MIN, 12 * 1901 + 1, 1, 0, 0, 0).Value(),
              CTime(INT_MIN + 1901, 1, 1, 0, 0, 0).Value());
}

TEST_F(Time, FollowsTheLocalZone) {
    SetZone("XST-3XDT,M3.5.0,M10.5.0");
    const CTime winter(2009, 1, 1, 0, 0, 0), summer(2009, 7, 1, 0, 0, 0);
    EXPECT_EQ(winter.Value() % 86400, 21 * 3600);
    EXPECT_EQ(summer.Value() % 86400, 20 * 3600);
    SetZone("YST5");
    std::tm fields = {};
    ASSERT_TRUE(winter.GetTimeComponents(fields));
    EXPECT_EQ(fields.tm_hour, 16);
}

TEST_F(Time, FormatsWithinTheSize) {
    const CTime time(2009, 1, 1, 0, 0, 0);
    char buffer[12] = {};
    EXPECT_TRUE(time.Format("%Y-%m-%d", buffer, 11));
    EXPECT_STREQ(buffer, "2009-01-01");
    EXPECT_FALSE(time.Format("%Y-%m-%d", buffer, 10));
    EXPECT_TRUE(CTime(-1).Format("%S", buffer, 12)) << "a time like any other";
    CString text;
    text.Append('g', 300);
    CTime(std::numeric_limits<std::time_t>::max()).Format("%Y", text);
    EXPECT_EQ(text.Length(), 101) << "what was there, without a local time";
    // Sixteen dates of 10 characters do not fit.
    time.Format("%F%F%F%F%F%F%F%F%F%F%F%F%F%F%F%F", text);
    EXPECT_LE(text.Length(), 131);
}

}  // namespace
