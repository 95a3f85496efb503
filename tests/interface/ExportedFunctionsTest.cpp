#include <TVframework/TVframework.h>

#include "tests/interface/InterfaceTestSupport.h"
#include "vars/GlobalVars.h"

#include <pthread.h>

#include <thread>

namespace {

using namespace tvtest;

constexpr char cBuiltIn[] = "%MajVersion=7;%MinVersion=4;AppName=Calyx;ShortAppKey=CX";

// Each test begins as a process does: nothing has set the variables.
class Exported : public ::testing::Test {
protected:
    Exported() { Tova::GlobalVars.Empty(); }

    static std::string Variables() { return Dump(Tova::GlobalVars); }

    const TempHome home_;
    const std::string path_ = home_.Path("config");
    const Tova::CFRef<CFStringRef> cfPath_ = MakeString(path_);
    const Tova::CFRef<CFMutableDictionaryRef> form_ = MakeDict({{"OrKey", "before"}});
};

TEST_F(Exported, NullArgumentsTouchNothing) {
    tvDeletePrefsItem(nullptr);
    tvDeletePrefsItem(cfPath_.Get());  // absent: creates no preferences
    EXPECT_FALSE(std::filesystem::exists(home_.Path(".config/com.NimbusWorks.NWCX7.plist")));
    EXPECT_EQ(tvApplyVariables(nullptr, nullptr), 0);
    EXPECT_TRUE(tvReadRegInfoFromNWC(nullptr, form_.Get()) == -1 &&
                tvReadRegInfoFromNWC(cfPath_.Get(), nullptr) == -1 &&
                tvReadRegInfoFromPrefs(nullptr) == -1);
    EXPECT_TRUE(tvWriteRegInfo(nullptr, form_.Get(), 1) == -1 &&
                tvWriteRegInfo(cfPath_.Get(), nullptr, 1) == -1);
    // Anything that is no dictionary counts as null. Details that cannot be filled are no success.
    const auto wrong = static_cast<CFMutableDictionaryRef>(
        const_cast<void*>(static_cast<const void*>(cfPath_.Get())));
    const Tova::CFRef<CFDictionaryRef> fixed(CFDictionaryCreateCopy(nullptr, form_.Get()));
    const auto details = const_cast<CFMutableDictionaryRef>(fixed.Get());
    WriteConfig(path_, {{"RegOrg", "saved"}});
    for (const char* key : {"RegFirstName", "RegLastName", "RegOrg", "RegEmail"}) {
        SetPreference(key, cfPath_.Get());
    }
    EXPECT_TRUE(tvWriteRegInfo(cfPath_.Get(), wrong, 0) == -1 &&
                tvReadRegInfoFromNWC(cfPath_.Get(), wrong) == -1 &&
                tvReadRegInfoFromPrefs(wrong) == -1);
    EXPECT_EQ(Show(form_.Get()) + Variables(), "-|-|before|-");
    EXPECT_TRUE(tvReadRegInfoFromNWC(cfPath_.Get(), details) == -1 &&
                tvReadRegInfoFromPrefs(details) == -1);
    EXPECT_EQ(tvReadRegInfoFromNWC(cfPath_.Get(), form_.Get()), 1);
    EXPECT_EQ(Show(form_.Get()), "||saved|");
}

TEST_F(Exported, ReadsAFileOrClearsTheFormAndNeverCreatesOne) {
    for (const std::string& bad : {path_, home_.Path(), std::string(), "/" + std::string(5000, 'x'),
                                   home_.Write("foreign", "not a configuration file")}) {
        CFDictionarySetValue(form_.Get(), CFSTR("OrKey"), CFSTR("before"));
        EXPECT_EQ(tvReadRegInfoFromNWC(MakeString(bad).Get(), form_.Get()), -1) << bad;
        EXPECT_EQ(tvWriteRegInfo(MakeString(bad).Get(), form_.Get(), 0), -3) << bad;
        EXPECT_EQ(Show(form_.Get()), "|||") << bad;
    }
    EXPECT_FALSE(std::filesystem::exists(path_));
    WriteConfig(path_, {{"RegFirstName", "Ada"}, {"RegEmail", "a@b.c"}, {"AppName", "No"}});
    EXPECT_EQ(tvReadRegInfoFromNWC(cfPath_.Get(), form_.Get()), 1);
    EXPECT_EQ(Show(form_.Get()), "Ada|||a@b.c");
    EXPECT_EQ(Variables(), cBuiltIn);  // the installer's file is not the framework's
}

TEST_F(Exported, ReadsDetailsFromThePreferencesOrTouchesNothing) {
    EXPECT_EQ(tvReadRegInfoFromPrefs(form_.Get()), -1);
    EXPECT_EQ(Show(form_.Get()), "-|-|before|-");
    for (const char* key : {"RegFirstName", "RegLastName", "RegOrg", "RegEmail"}) {
        SetPreference(key, MakeString(key).Get());
    }
    tvDeletePrefsItem(CFSTR("RegLastName"));  // no prefix is added
    EXPECT_EQ(tvReadRegInfoFromPrefs(form_.Get()), 1);
    EXPECT_EQ(Show(form_.Get()), "RegFirstName|RegLastName|RegOrg|RegEmail");
    tvDeletePrefsItem(CFSTR("RegisterInfo/RegLastName"));
    EXPECT_EQ(tvReadRegInfoFromPrefs(form_.Get()), -1);
}

TEST_F(Exported, SavesWhatFitsIntoAnExistingFile) {
    const auto form = MakeDict({{"FNKey", std::string(31, 'x')}, {"LNKey", std::string(30, 'y')}});
    CFDictionarySetValue(form.Get(), CFSTR("EAKey"), kCFBooleanTrue);
    WriteConfig(path_, {{"Other", "x"}, {"RegEmail", "old"}, {"%RegOrg", "kept"}});
    EXPECT_EQ(tvWriteRegInfo(cfPath_.Get(), form.Get(), 0), 0);
    Tova::CVarList saved;
    EXPECT_EQ(saved.ReadFromEncryptedFile(Path(path_)), Tova::Ok);
    EXPECT_EQ(Dump(saved),
              "Other=x;RegEmail=;%RegOrg=kept;RegFirstName=;RegLastName=" + std::string(30, 'y'));
    EXPECT_EQ(Variables(), cBuiltIn);
}

TEST_F(Exported, ACancellationWaitsForTheEndOfACall) {
    WriteConfig(path_, {{"RegOrg", "saved"}});
    int read = 0, written = 1;
    std::thread([&] {
        pthread_cancel(pthread_self());
        read = tvReadRegInfoFromNWC(cfPath_.Get(), form_.Get());
        tvDeletePrefsItem(CFSTR("absent"));
        tvReadRegInfoFromPrefs(form_.Get());
        written = tvWriteRegInfo(cfPath_.Get(), form_.Get(), 0);
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    }).join();
    EXPECT_EQ(read, 1);
    EXPECT_EQ(written, 0);
}

}  // namespace
