#include "text/CErrorTable.h"

#include <gtest/gtest.h>

using namespace Tova;

namespace {

// The first two statuses are of module 300, the third is of 301.
const CErrorTableEntry sRows[] = {
    {RStatus(0x9801), "first"}, {RStatus(0x9802), "second"}, {RStatus(0x9881), "stray"}};

TEST(CErrorTable, OnlyTheLastTableOfAModuleNamesItsExactStatuses) {
    static const CErrorTable older("Older", 300, 3, sRows);
    EXPECT_STREQ(CErrorTable::GetErrorName(sRows[1].status), "second");
    static const CErrorTable later("Later", 300, 1, sRows);
    EXPECT_STREQ(CErrorTable::GetErrorName(sRows[0].status), "first");
    for (const unsigned unknown : {0x9802U, 0x9881U, 0x80009801U}) {
        EXPECT_STREQ(CErrorTable::GetErrorName(RStatus(unknown)), "(unknown error)") << unknown;
    }
}

}  // namespace
