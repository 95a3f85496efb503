#include "registry/CRegistry.h"

#include "registry/CNWRegistry.h"
#include "tests/registry/RegistryTesting.h"
#include "tests/support/TempHome.h"
#include "vars/GlobalVars.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

namespace Tova {
namespace {

using tvtest::Dump;

constexpr char cShared[] = "machine/Nimbus Works/Nimbus Works Registry";
constexpr char cText[] = "!NWREG 1.0 {\nCalyx {\nURL=https://x.test/r\nsub{v=1\n}\n}\nplain=2\n}\n";

class RegistryTest : public testing::Test {
protected:
    RegistryTest() { GlobalVars.Empty(); }
    ~RegistryTest() override { GlobalVars.Empty(); }

    // The value that an application finds; "none", and what its output still holds.
    static std::string AppValue(const char* appKey, const char* name = "URL") {
        CString value("none");
        const bool found = CNWRegistry(appKey).ReadAppValue(name, value);
        return (found ? "" : "- ") + std::string(value.CStr());
    }

    tvtest::TempHome home_;
};

TEST_F(RegistryTest, WithoutAFileNothingIsFoundOrMade) {
    EXPECT_EQ(AppValue("Calyx"), "- none");
    EXPECT_FALSE(std::filesystem::exists(home_.Path("machine/Nimbus Works")));
    const CNWRegistry registry("Calyx/Seven");
    EXPECT_FALSE(registry.IsRead());
    EXPECT_STREQ(registry.AppDir().GetName(), "Seven") << "made in memory";
    CString name(getpwuid(geteuid())->pw_name);
    CRegDir::FixName(name);
    EXPECT_EQ(Dump(registry), std::string("Calyx{Seven{}} ") + name.CStr() + "{}");
}

TEST_F(RegistryTest, SharedRegistryInBothFormats) {
    // Damage keeps what was read before it, but then a directory is made rather than found.
    const char* damaged = "!NWREG 1.0 {\nCalyx {\nURL=three\nsub{v=1\n}9";
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {cText, "Calyx", "URL", "https://x.test/r"},
        {cText, "Calyx", "sub/v", "1"},
        {cText, "Calyx/sub", "v", "1"},
        {cText, "Cal/sub", "v", "1"},
        {cText, "Cal", "URL", "- none"},
        {cText, "plain", "URL", "- none"},
        {cText, nullptr, "URL", "- none"},
        {"[Calyx]\r\nURL=two\r\n", "Calyx", "URL", "two"},
        {damaged, "Calyx", "URL", "three"},
        {damaged, "Cal/sub", "v", "- none"}};
    for (const auto& [text, key, name, expected] : cases) {
        home_.Write(cShared, text);
        EXPECT_EQ(AppValue(key, name), expected) << text << name;
    }
    EXPECT_FALSE(CNWRegistry("Calyx").IsRead());
    EXPECT_TRUE(CNWRegistry("").AppDir().IsEmpty() && CNWRegistry("").HasApplication());
}

TEST_F(RegistryTest, AVariableNamesAnotherFile) {
    home_.Write(cShared, cText);
    home_.Write(".local/share/seven/r", "[Calyx]\nURL=other\n");
    GlobalVars.SetValue("Folder", "seven", false);
    GlobalVars.SetValue("NWRegistry", "[UserAppDataDir]/<Folder>/r", false);
    EXPECT_EQ(AppValue("Calyx"), "other");
    for (const char* bad :
         {"", "seven/r", "[Elsewhere]/r", "[UserAppDataDir", "[UserAppDataDir]/none"}) {
        GlobalVars.SetValue("NWRegistry", bad, false);
        EXPECT_EQ(AppValue("Calyx"), "- none") << bad;
    }
}

TEST_F(RegistryTest, FileRegistriesByName) {
    home_.Write("machine/r", cText);
    const std::unique_ptr<CRegistry> registry(CRegistry::Create("FILE:[MachineAppDataDir]/r"));
    registry->SetValue("own", "1");
    EXPECT_EQ(registry->Read(), Ok);
    EXPECT_EQ(Dump(*registry), "own='1' Calyx{URL='https://x.test/r' sub{v='1'}} plain='2'");
    home_.Write("machine/r", "!NWREG 1.0 {\nnew=1\n=");
    EXPECT_EQ(registry->Read(), ErrSyntax);
    EXPECT_TRUE(registry->IsRead() && !registry->GetNode()->IsModified()) << "also after a failure";
    EXPECT_STREQ(registry->GetValue("new"), "1");
    EXPECT_EQ(std::unique_ptr<CRegistry>(CRegistry::Create("FILE:r"))->Read(), ErrNotFound);
    const std::unique_ptr<CRegistry> folder(CRegistry::Create("FILE:[MachineAppDataDir]"));
    EXPECT_EQ(folder->Read(), Ok) << "a folder reads as an empty file";
    EXPECT_FALSE(CRegistry::Create("MEM:") || CRegistry::Create("file:[MachineAppDataDir]/r") ||
                 CRegistry::Create("") || CRegistry::Create(nullptr));
}

}  // namespace
}  // namespace Tova
