#include <TVframework/TVframework.h>

#include "interface/AppVariables.h"
#include "tests/interface/InterfaceTestSupport.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/TempHome.h"
#include "vars/GlobalVars.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using tvtest::MakeDict;
using tvtest::MakeString;
using tvtest::SetPreference;
using tvtest::Show;
using tvtest::WriteConfig;

constexpr char cBuiltIn[] = "%MajVersion=7;%MinVersion=4;AppName=Calyx;ShortAppKey=CX";

// Each test begins as a process does: nothing has set the variables.
class Exported : public ::testing::Test {
protected:
    Exported() { Tova::GlobalVars.Empty(); }
    ~Exported() override { Tova::GlobalVars.Empty(); }

    static std::string Variables() { return tvtest::Dump(Tova::GlobalVars); }
    int ReadFile(const std::string& path) const {
        return tvReadRegInfoFromNWC(MakeString(path).Get(), form_.Get());
    }

    const tvtest::TempHome home_;
    const std::string path_ = home_.Path("config");
    const Tova::CFRef<CFMutableDictionaryRef> form_ = MakeDict({{"OrKey", "before"}});
};

TEST_F(Exported, NullArgumentsTouchNothing) {
    const auto path = MakeString(path_);
    EXPECT_EQ(tvApplyVariables(nullptr, nullptr), 0);
    tvDeletePrefsItem(nullptr);
    tvDeletePrefsItem(path.Get());  // absent: creates no preferences
    EXPECT_EQ(tvReadRegInfoFromNWC(nullptr, form_.Get()), -1);
    EXPECT_EQ(tvReadRegInfoFromNWC(path.Get(), nullptr), -1);
    EXPECT_EQ(tvReadRegInfoFromPrefs(nullptr), -1);
    EXPECT_EQ(tvWriteRegInfo(nullptr, form_.Get(), 1), -1);
    EXPECT_EQ(tvWriteRegInfo(path.Get(), nullptr, 1), -1);
    EXPECT_EQ(Show(form_.Get()), "-|-|before|-");
    EXPECT_EQ(Variables(), "");
    EXPECT_FALSE(std::filesystem::exists(home_.Path(".config/com.NimbusWorks.NWCX7.plist")));
}

TEST_F(Exported, ReadsAFileOrClearsTheFormAndNeverCreatesOne) {
    for (const std::string& bad : {path_, home_.Path(), std::string(), "/" + std::string(5000, 'x'),
                                   home_.Write("foreign", "not a configuration file")}) {
        CFDictionarySetValue(form_.Get(), MakeString("OrKey").Get(), MakeString("before").Get());
        EXPECT_EQ(ReadFile(bad), -1);
        EXPECT_EQ(tvWriteRegInfo(MakeString(bad).Get(), form_.Get(), 0), -3);
        EXPECT_EQ(Show(form_.Get()), "|||") << bad;
    }
    EXPECT_FALSE(std::filesystem::exists(path_));
    WriteConfig(path_, {{"RegFirstName", "Ada"}, {"RegEmail", "a@b.c"}, {"AppName", "No"}});
    EXPECT_EQ(ReadFile(path_), 1);
    EXPECT_EQ(Show(form_.Get()), "Ada|||a@b.c");
    EXPECT_EQ(Variables(), cBuiltIn);  // the installer's file is not the framework's
}

TEST_F(Exported, ReadsDetailsFromThePreferencesOrTouchesNothing) {
    for (const char* key : {"RegFirstName", "RegOrg", "RegEmail"}) {
        SetPreference(key, MakeString(key).Get());
    }
    EXPECT_EQ(tvReadRegInfoFromPrefs(form_.Get()), -1);
    EXPECT_EQ(Show(form_.Get()), "-|-|before|-");
    SetPreference("RegLastName", MakeString("L").Get());
    tvDeletePrefsItem(MakeString("RegLastName").Get());  // no prefix is added
    EXPECT_EQ(tvReadRegInfoFromPrefs(form_.Get()), 1);
    EXPECT_EQ(Show(form_.Get()), "RegFirstName|L|RegOrg|RegEmail");
    tvDeletePrefsItem(MakeString("RegisterInfo/RegLastName").Get());
    EXPECT_EQ(tvReadRegInfoFromPrefs(form_.Get()), -1);
}

TEST_F(Exported, SavesWhatFitsIntoAnExistingFile) {
    const auto form = MakeDict({{"FNKey", std::string(31, 'x')}, {"LNKey", std::string(30, 'y')}});
    CFDictionarySetValue(form.Get(), MakeString("EAKey").Get(), kCFBooleanTrue);
    WriteConfig(path_, {{"Other", "x"}, {"RegEmail", "old"}, {"%RegOrg", "kept"}});
    EXPECT_EQ(tvWriteRegInfo(MakeString(path_).Get(), form.Get(), 0), 0);
    EXPECT_EQ(tvtest::ReadConfig(path_),
              "Other=x;RegEmail=;%RegOrg=kept;RegFirstName=;RegLastName=" + std::string(30, 'y'));
    EXPECT_EQ(Variables(), cBuiltIn);
}

// Whatever allocation fails, reading drops the failure, saving may pass it on, and neither keeps a
// reference.
TEST_F(Exported, FailedAllocationsReleaseEverything) {
    const auto path = MakeString(path_);
    for (const bool reading : {true, false}) {
        bool failed = true;
        for (int n = 0; failed; ++n) {
            WriteConfig(path_, {{"RegFirstName", "Ada"}});
            Tova::GlobalVars.Empty();
            const tvtest::FailAllocation fail(n);
            int result = 0;
            try {
                result = reading ? tvReadRegInfoFromNWC(path.Get(), form_.Get())
                                 : tvWriteRegInfo(path.Get(), form_.Get(), 0);
            } catch (const std::bad_alloc&) {
                EXPECT_FALSE(reading);
            }
            failed = fail.HasFailed();
            EXPECT_TRUE(failed || result == (reading ? 1 : 0));
            EXPECT_EQ(CFGetRetainCount(path.Get()) + CFGetRetainCount(form_.Get()), 2);
        }
    }
}

}  // namespace
