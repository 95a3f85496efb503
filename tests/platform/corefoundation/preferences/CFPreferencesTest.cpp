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

Owned<CFTypeRef> nested(int levels) {
    auto value = Own<CFTypeRef>(CFRetain(CFSTR("leaf")));
    for (int i = 1; i < levels; ++i) {
        value = Own<CFTypeRef>(CFRetain(arrayOf({value.Get()}).Get()));
    }
    return value;
}

class CFPreferences : public PreferencesTest {};

TEST_F(CFPreferences, EveryKindOfValueIsReadBackFromTheFile) {
    const auto dictionary = Own(CFDictionaryCreateMutable(
        nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const auto array = arrayOf({Int(1), kCFBooleanTrue, CFSTR("x"), arrayOf({})});
    CFDictionarySetValue(dictionary, CFSTR(""), array);
    CFDictionarySetValue(dictionary, CFSTR("k<&>\""), Bytes(std::string("\0\xFF", 2)));
    const double infinity = INFINITY;
    std::vector<Owned<CFTypeRef>> values;
    for (CFTypeRef text :
         {CFSTR(""), CFSTR(" \t\r\n <a>&amp;\"' "), CFSTR("caf\xC3\xA9 \xF0\x9D\x84\x9E")}) {
        values.push_back(Own(CFRetain(text)));
    }
    for (const long number : {0L, 1L, -5L, LONG_MAX, LONG_MIN}) {
        values.push_back(Own<CFTypeRef>(CFRetain(Int(number))));
    }
    for (const double number : {0.1, -1e-300, 1.7976931348623157e308, infinity, 2.0}) {
        values.push_back(Real(number));
    }
    values.push_back(Bytes(""));
    values.push_back(Own(CFRetain(dictionary)));
    values.push_back(Own(CFRetain(kCFBooleanFalse)));
    values.push_back(nested(100));
    for (size_t i = 0; i < values.size(); ++i) {
        Set("k" + std::to_string(i), values[i]);
        EXPECT_TRUE(CFEqual(Get("k" + std::to_string(i)), values[i])) << "before it is written";
    }
    ASSERT_TRUE(Sync());
    const ScopedEnv config("XDG_CONFIG_HOME", Alias());
    for (size_t i = 0; i < values.size(); ++i) {
        EXPECT_TRUE(CFEqual(Get("k" + std::to_string(i)), values[i])) << i;
    }
    EXPECT_TRUE(CFNumberIsFloatType(static_cast<CFNumberRef>(Get("k12").Get())));
}

TEST_F(CFPreferences, AValueIsASnapshot) {
    const auto text = MutableStr(u"old");
    const auto array = arrayOf({text});
    Set("k", array);
    CFStringAppend(text, CFSTR("er"));
    CFArrayRemoveAllValues(array);
    EXPECT_TRUE(CFEqual(Get("k"), arrayOf({CFSTR("old")})));
}

TEST_F(CFPreferences, WhatAPropertyListCannotHoldIsIgnored) {
    const auto cyclic = arrayOf({});
    CFArrayAppendValue(cyclic, cyclic);
    const void* pointer = reinterpret_cast<const void*>(16);
    const auto pointers = Own(CFArrayCreate(nullptr, &pointer, 1, nullptr));
    const auto numberKey = Own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                         &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(numberKey, Int(1), CFSTR("x"));
    Set("k", CFSTR("old"));
    const auto halfPair = Str(u"\xD800"), zero = Str(std::u16string_view(u"a\0", 2));
    const auto url = FileUrl("/a");
    const auto deep = nested(101);
    auto doubled = arrayOf({});
    for (int i = 0; i < 40; ++i) {
        doubled = arrayOf({doubled.Get(), doubled.Get()});
    }
    for (CFTypeRef value : std::initializer_list<CFTypeRef>{
             CFSTR("\x01"), halfPair.Get(), zero.Get(), url.Get(), cyclic.Get(), doubled.Get(),
             pointers.Get(), numberKey.Get(), deep.Get()}) {
        Set("k", value);
        EXPECT_TRUE(CFEqual(Get("k"), CFSTR("old"))) << Utf8(Own(CFCopyDescription(value)));
    }
    Set("\x02", CFSTR("x"));
    EXPECT_EQ(Get("\x02").Get(), nullptr);
    CFArrayRemoveAllValues(cyclic);
}

TEST_F(CFPreferences, TheFileIsTheUsersAlone) {
    Set("k", CFSTR("v"));
    ASSERT_TRUE(Sync());
    struct stat status = {};
    ASSERT_EQ(stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    ASSERT_EQ(stat(folder_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    const std::string xdg = home_.Path("x/y");
    for (const std::string& value : {xdg, std::string("relative"), std::string()}) {
        const ScopedEnv config("XDG_CONFIG_HOME", value);
        Set("k2", CFSTR("v"));
        EXPECT_TRUE(Sync());
        EXPECT_EQ(std::filesystem::exists((value == xdg ? xdg : folder_) + "/org.x.plist"), true);
    }
    EXPECT_TRUE(CFEqual(Get("k2"), CFSTR("v"))) << "relative folders count as none";
    EXPECT_FALSE(std::filesystem::exists("relative"));
}

TEST_F(CFPreferences, OtherWritersValuesSurvive) {
    const std::string foreign = "<key>d</key><date>1960-02-03T04:05:06Z</date>"
                                "<key>r</key><real>0.5</real>"
                                "<key>u</key><integer>18446744073709551615</integer>"
                                "<key>b</key><data>AAEC</data>"
                                "<key>a</key><array><date>2500-01-01T00:00:00Z</date></array>"
                                "<key>old</key><string>1</string>";
    WriteFile(Plist(foreign));
    EXPECT_EQ(Get("d").Get(), nullptr) << "dates have no type here";
    EXPECT_EQ(Get("u").Get(), nullptr);
    EXPECT_EQ(Get("a").Get(), nullptr);
    EXPECT_TRUE(CFEqual(Get("r"), Real(0.5)));
    Set("old", nullptr);
    Set("new", CFSTR("2"));
    // Someone else writes meanwhile.
    WriteFile(Plist(foreign + "<key>late</key><true/>"));
    EXPECT_EQ(Get("late").Get(), nullptr) << "not seen before synchronising";
    ASSERT_TRUE(Sync());
    EXPECT_TRUE(CFEqual(Get("late"), kCFBooleanTrue));
    const std::string text = ReadFile(file_);
    for (const char* kept : {"<date>1960-02-03T04:05:06Z<", "<real>0.5<", ">18446744073709551615<",
                             "AAEC", "<date>2500-01-01T00:00:00Z<", "<key>new<"}) {
        EXPECT_NE(text.find(kept), std::string::npos) << kept;
    }
    EXPECT_EQ(text.find("<key>old<"), std::string::npos);
    EXPECT_LT(text.find("<key>d<"), text.find("<key>late<")) << "in their order";
    const auto keys = Own(
        CFPreferencesCopyKeyList(CFSTR("org.x"), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    EXPECT_EQ(CFArrayGetCount(keys), 7);
}

TEST_F(CFPreferences, NothingIsWrittenWithoutAReason) {
    Set("absent", nullptr);
    EXPECT_TRUE(Sync());
    EXPECT_TRUE(Sync());
    EXPECT_EQ(CountFiles(), 0U) << "neither file nor folder";
    WriteFile(Plist("<key>k</key><true/>"));
    struct stat before = {}, after = {};
    ASSERT_EQ(stat(file_.c_str(), &before), 0);
    Set("absent", nullptr);
    EXPECT_TRUE(Sync());
    ASSERT_EQ(stat(file_.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(CFPreferences, SeveralAtATime) {
    Set("gone", CFSTR("1"));
    const auto values = Own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                      &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(values, CFSTR("b"), CFSTR("2"));
    CFDictionarySetValue(values, CFSTR("a"), CFSTR("1"));
    const auto removed = arrayOf({CFSTR("gone"), Int(1)});
    CFPreferencesSetMultiple(values, removed, CFSTR("org.x"), kCFPreferencesCurrentUser,
                             kCFPreferencesAnyHost);
    const auto some = arrayOf({CFSTR("a"), CFSTR("b"), CFSTR("no"), Int(2)});
    for (CFArrayRef keys : {CFArrayRef(), CFArrayRef(some.Get())}) {
        EXPECT_TRUE(
            CFEqual(Own(CFPreferencesCopyMultiple(keys, CFSTR("org.x"), kCFPreferencesCurrentUser,
                                                  kCFPreferencesAnyHost)),
                    values));
    }
    const auto keys = Own(
        CFPreferencesCopyKeyList(CFSTR("org.x"), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    EXPECT_TRUE(CFEqual(keys, arrayOf({CFSTR("a"), CFSTR("b")})));
}

TEST_F(CFPreferences, DomainsStayInTheirFolder) {
    const auto zero = Str(std::u16string_view(u"a\0b", 3));
    for (CFStringRef domain :
         {CFSTR("../x"), CFSTR("a/b"), CFSTR(""), CFSTR("/"), zero.Get(),
          static_cast<CFStringRef>(nullptr), reinterpret_cast<CFStringRef>(kCFBooleanTrue)}) {
        Set("k", CFSTR("v"), domain);
        EXPECT_FALSE(Sync(domain));
        EXPECT_EQ(Get("k", domain).Get(), nullptr);
    }
    for (CFStringRef user : {kCFPreferencesAnyUser, CFSTR("root"), CFStringRef()}) {
        CFPreferencesSetValue(CFSTR("k"), CFSTR("v"), CFSTR("org.x"), user, kCFPreferencesAnyHost);
        EXPECT_FALSE(CFPreferencesSynchronize(CFSTR("org.x"), user, kCFPreferencesAnyHost));
    }
    EXPECT_FALSE(CFPreferencesSynchronize(CFSTR("org.x"), kCFPreferencesCurrentUser,
                                          kCFPreferencesCurrentHost));
    EXPECT_EQ(CountFiles(), 0U);
    Set("k", CFSTR("of all"), kCFPreferencesAnyApplication);
    EXPECT_TRUE(CFEqual(Get("k"), CFSTR("of all"))) << "where the domain has none of its own";
    Set("k", CFSTR("own"), kCFPreferencesCurrentApplication);
    Set("k", CFSTR("v"), CFSTR(".."));
    for (CFStringRef domain :
         {kCFPreferencesAnyApplication, kCFPreferencesCurrentApplication, CFSTR("..")}) {
        EXPECT_TRUE(Sync(domain));
    }
    const std::string name = std::filesystem::read_symlink("/proc/self/exe").filename();
    EXPECT_TRUE(CFEqual(Get("k", Utf8Str(name)), CFSTR("own")));
    EXPECT_TRUE(std::filesystem::exists(folder_ + "/" + name + ".plist"));
    EXPECT_TRUE(std::filesystem::exists(folder_ + "/...plist"));
}

}  // namespace
