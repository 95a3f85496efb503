#include "interface/AppVariables.h"

#include "tests/vars/VarsTestSupport.h"
#include "vars/GlobalVars.h"

#include <gtest/gtest.h>

namespace Tova {
namespace {

TEST(AppVariables, ValuesReferToOtherVariables) {
    CString value("before");
    EXPECT_FALSE(AppGetVariable("Title", value));
    EXPECT_STREQ(value.CStr(), "");
    tvtest::Fill(GlobalVars, {{"Title", "<App> <Maj>"}, {"App", "Calyx"}, {"Maj", "7"}});
    EXPECT_TRUE(AppGetVariable("Title", value));
    EXPECT_STREQ(value.CStr(), "Calyx 7");
    GlobalVars.Empty();
}

}  // namespace
}  // namespace Tova
