#include "tests/platform/corefoundation/preferences/PreferencesTestSupport.h"

#include <cmath>
#include <vector>

using namespace tvtest;

namespace {

Owned<CFTypeRef> Real(double value) {
    return Own<CFTypeRef>(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

Owned<CFTypeRef> Bytes(const std::string& bytes) {
    return Own<CFTypeRef>(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                       static_cast<CFIndex>(bytes.size())));
}

Owned<CFMutableArrayRef> arrayOf(const std::vector<CFTypeRef>& values) {
    auto array = Own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    for (CFTypeRef value : values) {
        CFArrayAppendValue(array, value);
    }
    return array;
}

// Holds the values, which may be temporary.
template <class... Values>
std::vector<Owned<CFTypeRef>> listOf(const Values&... values) {
    std::vector<Owned<CFTypeRef>> list;
    (list.push_back(Own(CFRetain(values))), ...);
    return list;
}

Owned<CFMutableDictionaryRef> dictionaryOf(CFTypeRef key, CFTypeRef value) {
    auto dictionary = Own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                    &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(dictionary, key, value);
    return dictionary;
}

// A value in `levels` arrays, which hold it `copies` times each.
Owned<CFTypeRef> nested(int levels, std::size_t copies = 1) {
    auto value = Own<CFTypeRef>(CFRetain(CFSTR("leaf")));
    for (int i = 1; i < levels; ++i) {
        value =
            Own<CFTypeRef>(CFRetain(arrayOf(std::vector<CFTypeRef>(copies, value.Get())).Get()));
    }
    return value;
}

bool hasMode(const std::string& path, unsigned mode) {
    return std::filesystem::status(path).permissions() == std::filesystem::perms(mode);
}

class CFPreferences : public PreferencesTest {};

TEST_F(CFPreferences, EveryKindOfValueIsReadBackFromTheFile) {
    const auto array = arrayOf({Int(1), kCFBooleanTrue, CFSTR("x"), arrayOf({})});
    const auto dictionary = dictionaryOf(CFSTR(""), array);
    CFDictionarySetValue(dictionary, CFSTR("k<&>\""), Bytes(std::string("\0\xFF", 2)));
    const auto values = listOf(
        Real(2.0), CFSTR(""), CFSTR(" \t\r\n <a>&amp;\"' "), CFSTR("caf\xC3\xA9 \xF0\x9D\x84\x9E"),
        Int(-5), Int(LONG_MAX), Int(LONG_MIN), Real(0.1), Real(-1e-300), Real(INFINITY),
        Real(1.7976931348623157e308), Bytes(""), dictionary, kCFBooleanFalse, nested(100));
    const auto expectAll = [&values] {
        for (size_t i = 0; i < values.size(); ++i) {
            EXPECT_TRUE(CFEqual(Get("k" + std::to_string(i)), values[i])) << i;
        }
    };
    for (size_t i = 0; i < values.size(); ++i) {
        Set("k" + std::to_string(i), values[i]);
    }
    expectAll();
    ASSERT_TRUE(Sync());
    const ScopedEnv config("XDG_CONFIG_HOME", Alias());
    expectAll();
    EXPECT_TRUE(CFNumberIsFloatType(static_cast<CFNumberRef>(Get("k0").Get())));
}

TEST_F(CFPreferences, AValueIsASnapshotAndOnlyWhatAPropertyListCanHoldIsKept) {
    const auto text = MutableStr(u"old");
    const auto array = arrayOf({text});
    Set("k", array);
    CFStringAppend(text, CFSTR("er"));
    CFArrayAppendValue(array, array);
    const auto old = arrayOf({CFSTR("old")});
    const void* pointer = reinterpret_cast<const void*>(16);
    for (const auto& value :
         listOf(array, CFSTR("\x01"), Str(u"\xD800"), Str(std::u16string_view(u"a\0", 2)),
                FileUrl("/a"), nested(41, 2), Own(CFArrayCreate(nullptr, &pointer, 1, nullptr)),
                dictionaryOf(Int(1), CFSTR("x")), nested(101))) {
        Set("k", value);
        EXPECT_TRUE(CFEqual(Get("k"), old)) << CFGetTypeID(value);
    }
    Set("\x02", CFSTR("x"));
    EXPECT_EQ(Keys(), "k ");
    CFArrayRemoveAllValues(array);
}

TEST_F(CFPreferences, TheFileIsTheUsersAlone) {
    SetText("k", "v");
    ASSERT_TRUE(Sync());
    EXPECT_TRUE(hasMode(file_, 0600) && hasMode(folder_, 0700));
    const std::string xdg = home_.Path("x/y");
    for (const auto& [value, folder] : {std::pair(xdg, xdg), std::pair(std::string("rel"), folder_),
                                        std::pair(std::string(), folder_)}) {
        const ScopedEnv config("XDG_CONFIG_HOME", value);
        SetText("k" + value, "v");
        EXPECT_TRUE(Sync());
        EXPECT_NE(ReadFile(folder + "/org.x.plist").find("k" + value), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists("rel"));
}

TEST_F(CFPreferences, OtherWritersValuesSurvive) {
    const std::string foreign = "<key>d</key><date>1960-02-03T04:05:06Z</date>"
                                "<key>r</key><real>0.5</real>"
                                "<key>u</key><integer>18446744073709551615</integer>"
                                "<key>b</key><data>AAEC</data>"
                                "<key>a</key><array><date>2500-01-01T00:00:00Z</date></array>"
                                "<key>old</key><string>1</string>";
    WriteFile(Plist(foreign));
    EXPECT_EQ(GetText("d") + GetText("u") + GetText("a"), "(none)(none)(none)") << "no type here";
    EXPECT_TRUE(CFEqual(Get("r"), Real(0.5)));
    Set("old", nullptr);
    SetText("new", "2");
    // Someone else writes meanwhile.
    WriteFile(Plist(foreign + "<key>late</key><true/>"));
    EXPECT_EQ(GetText("late"), "(none)") << "not seen before synchronising";
    ASSERT_TRUE(Sync());
    EXPECT_EQ(Keys(), "a b d late new r u ");
    const std::string text = ReadFile(file_);
    std::size_t at = 0;
    for (const char* kept : {"<date>1960-02-03T04:05:06Z<", "<real>0.5<", ">18446744073709551615<",
                             "AAEC", "<date>2500-01-01T00:00:00Z<", "<key>late<", "<key>new<"}) {
        EXPECT_NE(at = text.find(kept, at), std::string::npos) << kept << " in its order";
    }
}

TEST_F(CFPreferences, NothingIsWrittenWithoutAReason) {
    const auto removeAbsent = [] {
        Set("absent", nullptr);
        EXPECT_TRUE(Sync());
    };
    removeAbsent();
    EXPECT_EQ(CountFiles(), 0U) << "neither file nor folder";
    WriteFile(Plist("<key>k</key><true/>"));
    const std::string before = ReadFile(file_);
    removeAbsent();
    EXPECT_EQ(ReadFile(file_), before);
    EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(CFPreferences, DomainsStayInTheirFolder) {
    const auto zero = Str(std::u16string_view(u"a\0b", 3));
    for (CFStringRef domain :
         {CFSTR("../x"), CFSTR("a/b"), CFSTR(""), CFSTR("/"), zero.Get(),
          static_cast<CFStringRef>(nullptr), reinterpret_cast<CFStringRef>(kCFBooleanTrue)}) {
        Set("k", CFSTR("v"), domain);
        EXPECT_FALSE(Sync(domain));
        EXPECT_EQ(GetText("k", domain), "(none)");
    }
    for (const auto& [user, host] : {std::pair(CFSTR("root"), kCFPreferencesAnyHost),
                                     std::pair(CFStringRef(), kCFPreferencesAnyHost),
                                     std::pair(kCFPreferencesCurrentUser, CFSTR("here"))}) {
        CFPreferencesSetValue(CFSTR("k"), CFSTR("v"), CFSTR("org.x"), user, host);
        EXPECT_FALSE(CFPreferencesSynchronize(CFSTR("org.x"), user, host));
    }
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
