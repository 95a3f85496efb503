#include "vars/CFormat.h"

#include "tests/vars/VarsTestSupport.h"
#include "vars/GlobalVars.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tuple>

namespace Tova {
namespace {

constexpr unsigned cKeep = CFormat::cKeepVariables;

TEST(CFormat, AppliesTheApplicationVariablesUnlessTold) {
    tvtest::Fill(GlobalVars, {{"AppName", "Calyx"}});
    EXPECT_STREQ(CFormat("<AppName> {AppName}", nullptr, 0).CStr(), "Calyx {AppName}");
    EXPECT_STREQ(CFormat("<AppName> {AppName}", "{}<>", 6).CStr(), "<AppName> Calyx");
    EXPECT_STREQ(CFormat(nullptr, nullptr, 0).CStr(), "");
    EXPECT_STREQ(CFormat("<AppName>", nullptr, cKeep).CStr(), "<AppName>");
    GlobalVars.Empty();
}

TEST(CFormat, ItemFillsEveryPlaceholderOfAName) {
    for (const auto& [text, delimiters, expected] :
         {std::tuple("<n:0005d>|<n:0>|<n:3d>|<n:3s>|<n:-5d>|<n>", "<>", "000ab|ab| ab| ab|ab|ab"),
          {"<n:0000000004>", "<>", "00ab"},
          {"<n:00000000004> <n", "<>", nullptr},
          {"<nn> <m> <N> <nn<n>><<n>", nullptr, "<nn> <m> <N> <nnab><ab"},
          {"<n:0<n>", "<>", "ab"},
          {"<n:a<n:0000000004>", "<>", "<n:a00ab"},
          {"%n%n%", "%%", "abn%"},
          {"<n>", "<", nullptr}}) {
        CFormat format(text, delimiters, cKeep);
        EXPECT_EQ(format.Item("n", "ab", CFormat::FmtString), expected != nullptr) << text;
        EXPECT_STREQ(format.CStr(), expected != nullptr ? expected : text);
    }
    // Inserts its format specification, and refuses if there is none: the placeholder disappears.
    const auto echo = [](char* spec, const void*, CString& out) {
        out = spec;
        return *spec != '\0';
    };
    CFormat format("a<n:1>b<n>c<n:22>d<m>", nullptr, cKeep);
    char spec[CFormat::cMaxSpecLength + 1] = "";
    EXPECT_FALSE(format.Item("n", "", nullptr) || format.GetNextVar(-1, "n", spec) >= 0 ||
                 format.GetNextVar(INT_MAX, "n", spec) >= 0);
    EXPECT_TRUE(format.Item("n", "", echo));
    EXPECT_FALSE(format.Item("m", "", echo));
    EXPECT_STREQ(format.CStr(), "a1bc22d");
}

}  // namespace
}  // namespace Tova
