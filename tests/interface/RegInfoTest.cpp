#include "interface/CRegInfo.h"

#include "interface/DictStrings.h"
#include "interface/SendRegInfo.h"
#include "tests/interface/InterfaceTestSupport.h"

namespace Tova {
namespace {

using namespace tvtest;

TEST(CRegInfo, OnlyTheConstructorFromTextsCuts) {
    const auto xs = [](std::size_t count) { return std::string(count, 'x'); };
    const CRegInfo cut(xs(31).c_str(), xs(30).c_str(), xs(61).c_str(), xs(65).c_str());
    EXPECT_EQ(Show(cut), xs(30) + "|" + xs(30) + "|" + xs(60) + "|" + xs(64));
    EXPECT_EQ(Show(CRegInfo(nullptr, nullptr, "o", nullptr)), "||o|");
    CVarList vars;
    Fill(vars, {{"%RegOrg", "fixed"}, {"Other", "x"}, {"RegEmail", xs(65)}});
    EXPECT_EQ(Show(CRegInfo(vars)), "||fixed|" + xs(65));
}

TEST(CRegInfo, NamesChecksAndCompares) {
    const CRegInfo ada("Ada", "Lovelace", "", "ada@example.org");
    CString name("before");
    ada.GetName(name);
    EXPECT_STREQ(name.CStr(), "Ada Lovelace");
    EXPECT_TRUE(ada.IsValidEmailAddress());
    EXPECT_TRUE(CRegInfo("", "", "", "").IsValidEmailAddress());
    EXPECT_FALSE(CRegInfo("", "", "", "ada@").IsValidEmailAddress());
    EXPECT_TRUE(ada.Compare(CRegInfo("Ada", "Lovelace", "", "ada@example.org")));
    EXPECT_FALSE(ada.Compare(CRegInfo("Ada", "Lovelace", "", "ADA@example.org")));
}

TEST(CPrefsRegInfo, StopsAtTheFirstAbsentValueAndSetsTheRecord) {
    const TempHome home;
    CRegInfo record("before", "before", "before", "before");
    const auto load = [&] {
        const bool complete = CPrefsRegInfo::Load(record);
        return Show(record) + (complete ? "" : " (incomplete)");
    };
    EXPECT_EQ(load(), "||| (incomplete)");
    SetPreference("RegFirstName", MakeString("caf\xC3\xA9").Get());
    SetPreference("RegLastName", MakeNumber(5).Get());  // no text: counts as absent
    SetPreference("RegOrg", MakeString("O").Get());
    SetPreference("RegEmail", MakeString("").Get());
    EXPECT_EQ(load(), "caf\xC3\xA9||| (incomplete)");
    SetPreference("RegLastName", MakeString("\xE2\x82\xAC" + std::string(200, 'x')).Get());
    EXPECT_EQ(load(), "caf\xC3\xA9|\xE2\x82\xAC" + std::string(200, 'x') + "|O|");
    // What the encoding cannot hold counts as there, but never shows the value read before it.
    const ScopedEnv latin("TV_SYSTEM_ENCODING", "ISO-8859-1");
    EXPECT_EQ(load(), "caf\xE9||O|");
}

TEST(DictStrings, ReadsIntoTheRoomThereIsAndNullTextsOnlyFillGaps) {
    const auto dict = MakeDict({{"text", "caf\xC3\xA9"}});
    std::string read;
    for (const int size : {6, 5, 0, -1}) {
        char buffer[10] = "before";
        getStringFromDict(dict.Get(), CFSTR("text"), buffer, size);
        getStringFromDict(dict.Get(), CFSTR("text"), nullptr, size);
        read += buffer + std::string("|");
    }
    EXPECT_EQ(read, "caf\xC3\xA9||before|before|");
    std::string shown;
    for (const char* text : {static_cast<const char*>(nullptr), "old",
                             static_cast<const char*>(nullptr), "\xFF", ""}) {
        setStringInDict(dict.Get(), CFSTR("FNKey"), text);
        shown += Show(dict.Get()) + " ";
    }
    // The fourth text is not valid in the system encoding.
    EXPECT_EQ(shown, "|-|-|- old|-|-|- old|-|-|- old|-|-|- |-|-|- ");
}

TEST(DictStrings, OnlyTheNumberOneIsConsent) {
    const auto dict = MakeDict({{"SDKey", "1"}});
    EXPECT_FALSE(IsSendingAllowed(dict.Get()) || IsSendingAllowed(nullptr));
    for (const double value : {0.0, 1.0, 2.0, -1.0, 1.5, 257.0, 1e18}) {
        CFDictionarySetValue(dict.Get(), CFSTR("SDKey"), MakeNumber(value).Get());
        EXPECT_EQ(IsSendingAllowed(dict.Get()), value == 1.0) << value;
    }
}

}  // namespace
}  // namespace Tova
