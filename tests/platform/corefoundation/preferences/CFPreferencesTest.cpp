#include "tests/platform/corefoundation/preferences/PreferencesTestSupport.h"

#include <cmath>

using namespace tvtest;

namespace {

Owned<CFTypeRef> Real(double value) {
    return Own<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

using CFPreferences = PreferencesTest;

TEST_F(CFPreferences, EveryKindOfValueIsReadBackFromTheFile) {
    const auto dictionary = MutableDict();
    CFDictionarySetValue(dictionary, CFSTR(""),
                         ArrayOf({Int(1), kCFBooleanTrue, CFSTR("x"), ArrayOf({})}));
    const auto values = ArrayOf(
        {Real(2.0), CFSTR(""), CFSTR(" \t\r\n <a>&amp;\"' "), CFSTR("caf\xC3\xA9 \xF0\x9D\x84\x9E"),
         Int(-5), Int(LONG_MAX), Int(LONG_MIN), Real(0.1), Real(-1e-300), Real(INFINITY),
         Real(1.7976931348623157e308), dictionary, kCFBooleanFalse, Nest(98, CFSTR("leaf"))});
    Set("k", values);
    EXPECT_TRUE(CFEqual(Get("k"), values));
    ASSERT_TRUE(Sync());
    const ScopedEnv config("XDG_CONFIG_HOME", Alias());
    const auto back = Get("k");
    EXPECT_TRUE(CFEqual(back, values)) << Utf8(Str(Dump(back)));
    const auto array = static_cast<CFArrayRef>(back.Get());
    EXPECT_TRUE(CFNumberIsFloatType(static_cast<CFNumberRef>(CFArrayGetValueAtIndex(array, 0))));
}

TEST_F(CFPreferences, AValueIsASnapshotAndOnlyWhatAPropertyListCanHoldIsKept) {
    const auto text = MutableStr(u"old");
    const auto array = Own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    const auto numbered = MutableDict();
    CFDictionarySetValue(numbered, Int(1), CFSTR("x"));
    const void* pointer = reinterpret_cast<const void*>(16);
    const auto bare = Own(CFArrayCreate(nullptr, &pointer, 1, nullptr));
    CFArrayAppendValue(array, text);
    Set("k", array);
    CFStringAppend(text, CFSTR("er"));
    CFArrayAppendValue(array, array);
    const auto refused =
        ArrayOf({array, CFSTR("\x01"), Str(u"\xD800"), Str(std::u16string_view(u"a\0", 2)),
                 FileUrl("/a"), Nest(40, CFSTR("leaf"), 2), bare, numbered, Nest(100, CFSTR("x"))});
    for (CFIndex i = 0; i < CFArrayGetCount(refused); ++i) {
        Set("k", CFArrayGetValueAtIndex(refused, i));
        EXPECT_EQ(Dump(Get("k")), u"[old]") << i;
    }
    Set("\x02", CFSTR("x"));
    EXPECT_EQ(Keys(), u"[k]");
    CFArrayRemoveAllValues(array);
}

TEST_F(CFPreferences, TheFileIsTheUsersAlone) {
    const std::string xdg = home_.Path("x/y");
    for (const auto& [value, folder, mask] : {std::tuple(xdg, xdg, mode_t{022}),
                                              {std::string("rel"), folder_, 0777},
                                              {std::string(), folder_, 0}}) {
        std::filesystem::remove_all(folder_);
        const ScopedEnv config("XDG_CONFIG_HOME", value);
        SetText("k" + value, "v");
        const mode_t old = umask(mask);
        EXPECT_TRUE(Sync());
        umask(old);
        const std::string file = folder + "/org.x.plist";
        EXPECT_NE(ReadFile(file).find("k" + value), std::string::npos);
        EXPECT_TRUE(HasMode(file, 0600) && HasMode(file + ".lock", 0600) && HasMode(folder, 0700));
    }
}

TEST_F(CFPreferences, OtherWritersValuesSurvive) {
    Set("absent", nullptr);
    EXPECT_TRUE(Sync());
    EXPECT_EQ(CountFiles(), 0U) << "neither file nor folder without a reason";
    const std::string foreign = "<key>d</key><date>1960-02-03T04:05:06Z</date>"
                                "<key>r</key><real>0.5</real>"
                                "<key>u</key><integer>18446744073709551615</integer>"
                                "<key>b</key><data>AAEC</data>"
                                "<key>a</key><array><date>2500-01-01T00:00:00Z</date></array>"
                                "<key>old</key><string>1</string>";
    WriteFile(Plist(foreign));
    Set("absent", nullptr);
    EXPECT_TRUE(Sync());
    EXPECT_EQ(ReadFile(file_), Plist(foreign)) << "not written without a reason";
    EXPECT_EQ(GetText("d") + GetText("u") + GetText("a"), "(none)(none)(none)") << "no type here";
    EXPECT_TRUE(CFEqual(Get("r"), Real(0.5)));
    Set("old", nullptr);
    SetText("new", "2");
    // Someone else writes meanwhile.
    WriteFile(Plist(foreign + "<key>late</key><true/>"));
    EXPECT_EQ(GetText("late"), "(none)") << "not seen before synchronising";
    ASSERT_TRUE(Sync());
    EXPECT_EQ(Keys(), u"[a,b,d,late,new,r,u]");
    std::string text = ReadFile(file_);
    std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\n'; });
    EXPECT_NE(text.find(foreign.substr(0, foreign.find("<key>old")) + "<key>late</key><true/>" +
                        "<key>new</key><string>2</string>"),
              std::string::npos)
        << text;
}

TEST_F(CFPreferences, DomainsStayInTheirFolder) {
    const auto zero = Str(std::u16string_view(u"a\0b", 3));
    for (CFTypeRef object :
         {CFTypeRef{CFSTR("../x")}, CFTypeRef{CFSTR("a/b")}, CFTypeRef{CFSTR("")}, CFTypeRef{zero},
          CFTypeRef{nullptr}, CFTypeRef{kCFBooleanTrue}}) {
        const auto domain = static_cast<CFStringRef>(object);
        Set("k", CFSTR("v"), domain);
        EXPECT_FALSE(Sync(domain));
        EXPECT_EQ(GetText("k", domain), "(none)");
    }
    CFPreferencesSetValue(CFSTR("k"), CFSTR("v"), CFSTR("org.x"), CFSTR("root"),
                          kCFPreferencesAnyHost);
    EXPECT_FALSE(CFPreferencesSynchronize(CFSTR("org.x"), CFSTR("root"), kCFPreferencesAnyHost));
    EXPECT_EQ(CountFiles(), 0U);
    Set("k", CFSTR("of all"), kCFPreferencesAnyApplication);
    EXPECT_EQ(GetText("k"), "of all") << "the domain has none of its own";
    Set("k", CFSTR("own"), kCFPreferencesCurrentApplication);
    Set("k", CFSTR("v"), CFSTR(".."));
    EXPECT_TRUE(Sync(kCFPreferencesCurrentApplication) && Sync(CFSTR("..")));
    const std::string name = std::filesystem::read_symlink("/proc/self/exe").filename();
    EXPECT_EQ(GetText("k", Utf8Str(name)), "own");
    EXPECT_TRUE(std::filesystem::exists(folder_ + "/" + name + ".plist"));
    EXPECT_TRUE(std::filesystem::exists(folder_ + "/...plist"));
}

}  // namespace
