#include "text/CErrorTable.h"

#include <gtest/gtest.h>

using namespace Tova;

namespace {

constexpr RStatus statusOf(int module, int code, std::uint32_t failure = 0) {
    return static_cast<RStatus>(static_cast<std::int32_t>(failure) | ((module + 4) << 7) | code);
}

const CErrorTableEntry sRows[] = {{statusOf(300, 1), "first"}, {statusOf(300, 2), "second"}};
const CErrorTableEntry sLaterRows[] = {{statusOf(300, 3), "third"}, {statusOf(301, 1), "stray"}};
CErrorTable sTable("Older", 300, 2, sRows);
CErrorTable sEmpty("Empty", 22, 0, nullptr);

TEST(CErrorTable, FindsByModuleAndExactStatus) {
    EXPECT_EQ(CErrorTable::FindModuleTable(300), &sTable);
    EXPECT_STREQ(CErrorTable::GetErrorName(statusOf(300, 2)), "second");
    EXPECT_STREQ(CErrorTable::GetErrorName(statusOf(300, 2, 1U << 31)), "(unknown error)");
    EXPECT_EQ(CErrorTable::SFindError(statusOf(22, 1)), nullptr);

    // Of two tables of one module only the later one is searched.
    static CErrorTable later("Later", 300, 2, sLaterRows);
    EXPECT_STREQ(CErrorTable::GetErrorName(statusOf(300, 3)), "third");
    EXPECT_STREQ(CErrorTable::GetErrorName(statusOf(300, 2)), "(unknown error)");
    EXPECT_STREQ(CErrorTable::GetErrorName(statusOf(301, 1)), "(unknown error)");
}

}  // namespace
