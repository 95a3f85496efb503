#include "interface/CRegInfo.h"

#include "interface/DictStrings.h"
#include "interface/SendRegInfo.h"
#include "tests/interface/InterfaceTestSupport.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <string>

namespace Tova {
namespace {

using tvtest::MakeString;
using tvtest::SetPreference;
using tvtest::Show;

TEST(CRegInfo, OnlyTheConstructorFromTextsCuts) {
    const auto xs = [](std::size_t count) { return std::string(count, 'x'); };
    const CRegInfo cut(xs(31).c_str(), xs(30).c_str(), xs(61).c_str(), xs(65).c_str());
    EXPECT_EQ(Show(cut), xs(30) + "|" + xs(30) + "|" + xs(60) + "|" + xs(64));
    EXPECT_EQ(Show(CRegInfo(nullptr, nullptr, "o", nullptr)), "||o|");

    CVarList vars;
    tvtest::Fill(vars, {{"%RegOrg", "fixed"}, {"Other", "x"}, {"RegEmail", xs(65)}});
    EXPECT_EQ(Show(CRegInfo(vars)), "||fixed|" + xs(65));
    CRegInfo("F", "", "O", "e@x.y").SetVariables(vars);
    EXPECT_EQ(tvtest::Dump(vars),
              "%RegOrg=fixed;Other=x;RegEmail=e@x.y;RegFirstName=F;RegLastName=");
}

TEST(CRegInfo, NameAddressAndComparison) {
    CString name;
    CRegInfo("", "Last", "", "").GetName(name);
    EXPECT_STREQ(name.CStr(), " Last");
    EXPECT_TRUE(CRegInfo().IsValidEmailAddress());
    EXPECT_FALSE(CRegInfo("", "", "", "a@b").IsValidEmailAddress());
    const CRegInfo record("F", "L", "Org", "e");
    EXPECT_TRUE(record.Compare(CRegInfo("F", "L", "Org", "e")));
    for (const CRegInfo& other : {CRegInfo("f", "L", "Org", "e"), CRegInfo("F", "L ", "Org", "e"),
                                  CRegInfo("F", "L", "OrG", "e"), CRegInfo("F", "L", "Org", "")}) {
        EXPECT_FALSE(record.Compare(other)) << Show(other);
    }
}

TEST(CPrefsRegInfo, StopsAtTheFirstAbsentValueAndSetsTheRecord) {
    const tvtest::TempHome home;
    CRegInfo record("before", "before", "before", "before");
    EXPECT_FALSE(CPrefsRegInfo::Load(record));
    EXPECT_EQ(Show(record), "|||");
    SetPreference("RegFirstName", MakeString("caf\xC3\xA9").Get());
    SetPreference("RegLastName", tvtest::MakeNumber(5).Get());  // no text: counts as absent
    SetPreference("RegOrg", MakeString("O").Get());
    SetPreference("RegEmail", MakeString("").Get());
    EXPECT_FALSE(CPrefsRegInfo::Load(record));
    EXPECT_EQ(Show(record), "caf\xC3\xA9|||");
    SetPreference("RegLastName", MakeString("\xE2\x82\xAC" + std::string(200, 'x')).Get());
    EXPECT_TRUE(CPrefsRegInfo::Load(record));
    EXPECT_EQ(Show(record), "caf\xC3\xA9|\xE2\x82\xAC" + std::string(200, 'x') + "|O|");
    // What the encoding cannot hold counts as there, but never shows the value read before it.
    const tvtest::ScopedEnv latin("TV_SYSTEM_ENCODING", "ISO-8859-1");
    EXPECT_TRUE(CPrefsRegInfo::Load(record));
    EXPECT_EQ(Show(record), "caf\xE9||O|");
}

TEST(DictStrings, GivesTheWholeTextOrNone) {
    const auto dict = tvtest::MakeDict({{"text", "four"}, {"wide", "caf\xC3\xA9"}});
    CFDictionarySetValue(dict.Get(), CFSTR("number"), tvtest::MakeNumber(5).Get());
    for (const auto& [key, size, expected] : {std::tuple("text", 5, "four"),
                                              {"text", 4, ""},
                                              {"wide", 6, "caf\xC3\xA9"},
                                              {"wide", 5, ""},
                                              {"number", 9, ""},
                                              {"absent", 9, ""},
                                              {"text", 0, "before"},
                                              {"text", -1, "before"}}) {
        char buffer[10] = "before";
        getStringFromDict(dict.Get(), MakeString(key).Get(), buffer, size);
        EXPECT_STREQ(buffer, expected) << key << size;
    }
    char buffer[10] = "before";
    getStringFromDict(nullptr, CFSTR("text"), buffer, 9);
    EXPECT_STREQ(buffer, "");
    getStringFromDict(dict.Get(), nullptr, buffer, 9);
    getStringFromDict(dict.Get(), CFSTR("text"), nullptr, 9);
}

TEST(DictStrings, NullTextsOnlyFillGaps) {
    const auto dict = tvtest::MakeDict();
    const auto set = [&](const char* text) {
        setStringInDict(dict.Get(), CFSTR("FNKey"), text);
        return Show(dict.Get());
    };
    EXPECT_EQ(set(nullptr), "|-|-|-");
    EXPECT_EQ(set("old"), "old|-|-|-");
    EXPECT_EQ(set(nullptr), "old|-|-|-");
    EXPECT_EQ(set("\xFF"), "old|-|-|-");  // not valid in the system encoding
    EXPECT_EQ(set(""), "|-|-|-");
    setStringInDict(nullptr, CFSTR("FNKey"), "x");
    setStringInDict(dict.Get(), nullptr, "x");
}

TEST(DictStrings, OnlyTheNumberOneIsConsent) {
    const auto dict = tvtest::MakeDict({{"SDKey", "1"}});
    EXPECT_FALSE(IsSendingAllowed(dict.Get()));
    EXPECT_FALSE(IsSendingAllowed(nullptr));
    for (const double value : {0.0, 1.0, 2.0, -1.0, 1.5, 257.0, 1e18}) {
        CFDictionarySetValue(dict.Get(), CFSTR("SDKey"), tvtest::MakeNumber(value).Get());
        EXPECT_EQ(IsSendingAllowed(dict.Get()), value == 1.0) << value;
    }
}

}  // namespace
}  // namespace Tova
