#include "text/CTime.h"

#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <utility>

using namespace Tova;

namespace {

TEST(CTime, FormatsTheLocalTimeWithinTheSize) {
    const tvtest::ScopedEnv zone("TZ", "XST-3XDT,M3.5.0,M10.5.0");
    const std::pair<CTime, const char*> cases[] = {
        {CTime(2009, 2, 29, 12, 0, 0), "2009-03-01 12:00:00"},
        {CTime(2009, 7, 0, 25, 61, -1), "2009-07-01 02:00:59"},
        {CTime(INT_MAX, -12 * (INT_MAX / 12) + 1, 1, 0, 0, 0), "1968526677-01-01 00:00:00"}};
    CString text;
    for (const auto& [time, expected] : cases) {
        time.Format("%Y-%m-%d %H:%M:%S", text);
        EXPECT_STREQ(text.CStr(), expected);
    }
    EXPECT_EQ(CTime(INT_MAX, INT_MAX, 1, 0, 0, 0).Value(), -1);
    text.Append('g', 300);
    CTime(std::numeric_limits<std::time_t>::max()).Format("%Y", text);
    EXPECT_EQ(text.Length(), 101) << "what was there, without a local time";
    cases[0].first.Format("%F%F%F%F%F%F%F%F%F%F%F%F%F%F%F%F", text);
    EXPECT_LE(text.Length(), 131) << "sixteen dates of 10 characters do not fit";
}

}  // namespace
