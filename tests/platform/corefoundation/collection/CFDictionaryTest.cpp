#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace tvtest;

namespace {

// Carries out a script, a word for each step: "+kv" adds, "=kv" sets, "-k" removes, "*" clears. A
// key or value "~" is null.
void edit(CFMutableDictionaryRef dictionary, std::u16string_view script) {
    const auto letter = [](char16_t c) {
        return Own(c != u'~' ? CFRetain(Str({&c, 1})) : nullptr);
    };
    for (size_t at = 0; at < script.size(); at = script.find(u' ', at), at += at < script.size()) {
        switch (script[at]) {
        case u'+':
            CFDictionaryAddValue(dictionary, letter(script[at + 1]), letter(script[at + 2]));
            break;
        case u'=':
            CFDictionarySetValue(dictionary, letter(script[at + 1]), letter(script[at + 2]));
            break;
        case u'-':
            CFDictionaryRemoveValue(dictionary, letter(script[at + 1]));
            break;
        default:
            CFDictionaryRemoveAllValues(dictionary);
        }
    }
}

TEST(CFDictionary, OnlyMutableOnesChange) {
    const void* keys[] = {CFSTR("a"), CFSTR("b"), CFSTR("a")};
    const void* values[] = {CFSTR("1"), CFSTR("2"), CFSTR("3")};
    const auto fixed =
        Own(CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                               &kCFTypeDictionaryValueCallBacks));
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"+b8 +c9", u"{a=1,b=2,c=9}"},
        {u"=b8 =c9 =b7", u"{a=1,b=7,c=9}"},
        {u"-c -a", u"{b=2}"},
        {u"* =d4", u"{d=4}"},
        {u"*", u"{}"},
        {u"=~1 =a~ +c~ +~1 -~", u"{a=1,b=2}"}};
    for (const auto& [script, expected] : cases) {
        const auto dictionary = Own(CFDictionaryCreateMutableCopy(nullptr, 0, fixed));
        edit(dictionary, script);
        EXPECT_EQ(Dump(dictionary), expected);
        edit(const_cast<CFMutableDictionaryRef>(fixed.Get()), script);
        EXPECT_EQ(Dump(fixed), u"{a=1,b=2}") << "the first of equal keys is kept";
    }
}

TEST(CFDictionary, FindsValues) {
    const auto dictionary = MutableDict();
    edit(dictionary, u"=a1 =b2");
    EXPECT_TRUE(CFDictionaryContainsKey(dictionary, Str(u"a")));
    const void* value = &value;
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(dictionary, CFSTR("c"), &value));
    EXPECT_EQ(value, &value);
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(dictionary, CFSTR("b"), &value));
    EXPECT_EQ(Dump(value), u"2");
    EXPECT_EQ(CFDictionaryGetValue(dictionary, nullptr), nullptr);
    const void* keys[2];
    const void* values[2];
    CFDictionaryGetKeysAndValues(dictionary, keys, values);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(CFDictionaryGetValue(dictionary, keys[i]), values[i]);
    }
}

TEST(CFDictionary, HoldsItsKeysAndValues) {
    const auto key = Str(u"key");
    const auto first = Str(u"first");
    const auto second = Str(u"second");
    // The references that the dictionary has on the three, as digits.
    const auto counts = [&] {
        return 100 * CFGetRetainCount(key) + 10 * CFGetRetainCount(first) +
               CFGetRetainCount(second) - 111;
    };
    auto dictionary = MutableDict();
    CFDictionaryAddValue(dictionary, key, first);
    CFDictionaryAddValue(dictionary, key, second);
    EXPECT_EQ(counts(), 110);
    CFDictionarySetValue(dictionary, key, second);
    EXPECT_EQ(counts(), 101);
    // Its own value, which must not die in between.
    CFDictionarySetValue(dictionary, key, CFDictionaryGetValue(dictionary, key));
    EXPECT_EQ(counts(), 101);
    {
        const auto copy = Own(CFDictionaryCreateCopy(nullptr, dictionary));
        EXPECT_EQ(Own(CFDictionaryCreateCopy(nullptr, copy)), copy);
        EXPECT_EQ(counts(), 202);
    }
    CFDictionaryRemoveValue(dictionary, CFSTR("key"));
    EXPECT_EQ(counts(), 0);
    CFDictionaryAddValue(dictionary, key, first);
    dictionary = MutableDict();
    EXPECT_EQ(counts(), 0);
}

TEST(CFDictionary, RefusesToBeMadeFromNull) {
    const void* holed[] = {CFSTR("a"), nullptr};
    const void* good[] = {CFSTR("x"), CFSTR("y")};
    const std::tuple<const void**, const void**, CFIndex> cases[] = {{holed, good, 2},
                                                                     {good, holed, 2},
                                                                     {nullptr, good, 1},
                                                                     {good, nullptr, 1},
                                                                     {good, good, -1}};
    for (const auto& [keys, values, count] : cases) {
        EXPECT_EQ(CFDictionaryCreate(nullptr, keys, values, count, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks),
                  nullptr);
    }
    const auto bare = Own(CFDictionaryCreate(nullptr, good, holed, 2, nullptr, nullptr));
    EXPECT_TRUE(CFDictionaryContainsKey(bare, good[1])) << "bare pointers may be null";
}

TEST(CFDictionary, CopiedStringKeysDoNotChange) {
    const auto dictionary = Own(CFDictionaryCreateMutable(
        nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const auto key = MutableStr(u"key");
    CFDictionarySetValue(dictionary, key, CFSTR("value"));
    CFStringReplaceAll(key, CFSTR("other"));
    CFDictionarySetValue(dictionary, Int(1), CFSTR("no string"));
    EXPECT_EQ(Dump(dictionary), u"{key=value}");
}

TEST(CFDictionary, EqualByValueWhateverTheOrder) {
    const auto a = MutableDict();
    const auto b = MutableDict();
    for (int i = 0; i < 100; ++i) {
        CFDictionarySetValue(a, Int(i), Int(i + 1));
        CFDictionarySetValue(b, Int(99 - i), Int(100 - i));
    }
    EXPECT_TRUE(CFEqual(a, b));
    EXPECT_EQ(CFHash(a), CFHash(b));
    CFDictionarySetValue(b, Int(50), CFSTR("y"));
    EXPECT_FALSE(CFEqual(a, b));
    CFDictionaryRemoveValue(b, Int(50));
    EXPECT_FALSE(CFEqual(a, b));
    CFDictionarySetValue(b, Int(150), CFDictionaryGetValue(a, Int(50)));
    EXPECT_FALSE(CFEqual(a, b));
}

TEST(CFDictionary, VisitsEachEntryOnceWhateverTheVisitorDoes) {
    using Visit = std::pair<CFMutableDictionaryRef, CFMutableDictionaryRef>;
    const auto dictionary = MutableDict();
    const auto seen = MutableDict();
    edit(dictionary, u"=a1 =b2 =c3");
    Visit visit{dictionary, seen};
    CFDictionaryApplyFunction(
        dictionary,
        [](const void* key, const void* value, void* context) {
            edit(static_cast<Visit*>(context)->first, u"* =d4");
            CFDictionaryAddValue(static_cast<Visit*>(context)->second, key, value);
        },
        &visit);
    EXPECT_EQ(Dump(seen) + Dump(dictionary), u"{a=1,b=2,c=3}{d=4}");
}

// Releasing a value runs foreign code, which finds the dictionary in order.
TEST(CFDictionary, CallbacksMayUseTheDictionary) {
    static CFMutableDictionaryRef sDictionary;
    static int sReleased;
    sReleased = 0;
    const auto release = [](CFAllocatorRef, const void* value) {
        ++sReleased;
        EXPECT_NE(CFDictionaryGetValue(sDictionary, CFSTR("a")), value);
    };
    const CFDictionaryValueCallBacks callBacks = {0, nullptr, release, nullptr, nullptr};
    const auto dictionary =
        Own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &callBacks));
    sDictionary = dictionary;
    const int values[3] = {};
    CFDictionarySetValue(dictionary, CFSTR("a"), &values[0]);
    CFDictionarySetValue(dictionary, CFSTR("a"), &values[1]);
    CFDictionaryRemoveValue(dictionary, CFSTR("a"));
    EXPECT_EQ(sReleased, 2);
    CFDictionarySetValue(dictionary, CFSTR("a"), &values[2]);
    CFDictionaryRemoveAllValues(dictionary);
    EXPECT_EQ(sReleased, 3);
}

}  // namespace
