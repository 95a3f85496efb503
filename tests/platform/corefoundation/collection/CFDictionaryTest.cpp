#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <map>

using namespace tvtest;

namespace {

Owned<CFMutableDictionaryRef> make() {
    return Own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                         &kCFTypeDictionaryValueCallBacks));
}

std::u16string Value(CFDictionaryRef dictionary, std::u16string_view key) {
    return Text(static_cast<CFStringRef>(CFDictionaryGetValue(dictionary, Str(key))));
}

TEST(CFDictionary, AddsSetsReplacesAndRemoves) {
    const auto dictionary = make();
    CFDictionaryReplaceValue(dictionary, CFSTR("a"), CFSTR("1"));
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
    CFDictionaryAddValue(dictionary, CFSTR("a"), CFSTR("1"));
    CFDictionaryAddValue(dictionary, Str(u"a"), CFSTR("2"));
    EXPECT_EQ(Value(dictionary, u"a"), u"1");
    CFDictionarySetValue(dictionary, Str(u"a"), CFSTR("3"));
    CFDictionarySetValue(dictionary, CFSTR("b"), CFSTR("4"));
    EXPECT_EQ(Value(dictionary, u"a"), u"3");
    CFDictionaryReplaceValue(dictionary, CFSTR("b"), CFSTR("5"));
    EXPECT_EQ(Value(dictionary, u"b"), u"5");
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 2);
    CFDictionaryRemoveValue(dictionary, CFSTR("c"));
    CFDictionaryRemoveValue(dictionary, CFSTR("a"));
    EXPECT_FALSE(CFDictionaryContainsKey(dictionary, CFSTR("a")));
    const void* value = &value;
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(dictionary, CFSTR("a"), &value));
    EXPECT_EQ(value, &value);
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(dictionary, CFSTR("b"), &value));
    EXPECT_EQ(value, CFSTR("5"));
    CFDictionaryRemoveAllValues(dictionary);
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
}

TEST(CFDictionary, HoldsItsKeysAndValues) {
    const auto key = Str(u"key");
    const auto first = Str(u"first");
    const auto second = Str(u"second");
    const auto counts = [&] {
        return std::vector{CFGetRetainCount(key), CFGetRetainCount(first),
                           CFGetRetainCount(second)};
    };
    using Counts = std::vector<CFIndex>;
    auto dictionary = make();
    CFDictionaryAddValue(dictionary, key, first);
    CFDictionaryAddValue(dictionary, key, second);
    EXPECT_EQ(counts(), (Counts{2, 2, 1}));
    CFDictionarySetValue(dictionary, key, second);
    EXPECT_EQ(counts(), (Counts{2, 1, 2}));
    // Its own value, which must not die in between.
    CFDictionarySetValue(dictionary, key, CFDictionaryGetValue(dictionary, key));
    EXPECT_EQ(counts(), (Counts{2, 1, 2}));
    {
        const auto copy = Own(CFDictionaryCreateCopy(nullptr, dictionary));
        EXPECT_EQ(counts(), (Counts{3, 1, 3}));
        EXPECT_EQ(Own(CFDictionaryCreateCopy(nullptr, copy)), copy);
        const auto changing = Own(CFDictionaryCreateMutableCopy(nullptr, 0, copy));
        CFDictionaryRemoveAllValues(changing);
        EXPECT_EQ(CFDictionaryGetCount(copy), 1);
    }
    CFDictionaryRemoveValue(dictionary, CFSTR("key"));
    EXPECT_EQ(counts(), (Counts{1, 1, 1}));
    CFDictionaryAddValue(dictionary, key, first);
    dictionary = make();
    EXPECT_EQ(counts(), (Counts{1, 1, 1}));
}

TEST(CFDictionary, ImmutableOnesStayAsTheyAre) {
    const void* keys[] = {CFSTR("a"), CFSTR("b"), CFSTR("a")};
    const void* values[] = {CFSTR("1"), CFSTR("2"), CFSTR("3")};
    const auto dictionary =
        Own(CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                               &kCFTypeDictionaryValueCallBacks));
    const auto target = const_cast<CFMutableDictionaryRef>(dictionary.Get());
    CFDictionaryAddValue(target, CFSTR("c"), CFSTR("x"));
    CFDictionarySetValue(target, CFSTR("a"), CFSTR("x"));
    CFDictionaryReplaceValue(target, CFSTR("a"), CFSTR("x"));
    CFDictionaryRemoveValue(target, CFSTR("b"));
    CFDictionaryRemoveAllValues(target);
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 2);
    EXPECT_EQ(Value(dictionary, u"a"), u"1");  // the first of equal keys
    EXPECT_EQ(Value(dictionary, u"b"), u"2");
}

TEST(CFDictionary, RefusesNullObjects) {
    const void* objects[] = {CFSTR("a"), nullptr};
    const void* good[] = {CFSTR("x"), CFSTR("y")};
    for (auto [keys, values] : {std::pair(objects, good), std::pair(good, objects)}) {
        EXPECT_EQ(CFDictionaryCreate(nullptr, keys, values, 2, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks),
                  nullptr);
    }
    EXPECT_EQ(CFDictionaryCreate(nullptr, nullptr, good, 1, nullptr, nullptr), nullptr);
    EXPECT_EQ(CFDictionaryCreate(nullptr, good, good, -1, nullptr, nullptr), nullptr);
    const auto dictionary = make();
    CFDictionarySetValue(dictionary, nullptr, CFSTR("x"));
    CFDictionarySetValue(dictionary, CFSTR("x"), nullptr);
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
    CFDictionarySetValue(dictionary, CFSTR("x"), CFSTR("y"));
    CFDictionarySetValue(dictionary, CFSTR("x"), nullptr);
    EXPECT_EQ(Value(dictionary, u"x"), u"y");
    EXPECT_EQ(CFDictionaryGetValue(dictionary, nullptr), nullptr);
}

TEST(CFDictionary, WithoutCallbacksHoldsBarePointers) {
    const auto dictionary = Own(CFDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    int pointed[2];
    CFDictionarySetValue(dictionary, &pointed[0], nullptr);
    CFDictionarySetValue(dictionary, nullptr, &pointed[1]);
    EXPECT_TRUE(CFDictionaryContainsKey(dictionary, &pointed[0]));
    EXPECT_EQ(CFDictionaryGetValue(dictionary, nullptr), &pointed[1]);
}

TEST(CFDictionary, CopiedStringKeysDoNotChange) {
    const auto dictionary = Own(CFDictionaryCreateMutable(
        nullptr, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const auto key = MutableStr(u"key");
    CFDictionarySetValue(dictionary, key, CFSTR("value"));
    CFStringReplaceAll(key, CFSTR("other"));
    EXPECT_EQ(Value(dictionary, u"key"), u"value");
    CFDictionarySetValue(dictionary, Int(1), CFSTR("no string"));
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 1);
}

TEST(CFDictionary, EqualByValueWhateverTheOrder) {
    const auto a = make();
    const auto b = make();
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
    struct Visit {
        CFMutableDictionaryRef dictionary;
        std::map<std::u16string, std::u16string> seen;
    };
    auto dictionary = make();
    for (const char16_t* key : {u"a", u"b", u"c"}) {
        CFDictionarySetValue(dictionary, Str(key), Str(std::u16string(key) + u"!"));
    }
    const void* keys[3];
    const void* values[3];
    CFDictionaryGetKeysAndValues(dictionary, keys, values);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(CFDictionaryGetValue(dictionary, keys[i]), values[i]);
    }
    Visit visit{dictionary, {}};
    CFDictionaryApplyFunction(
        dictionary,
        [](const void* key, const void* value, void* context) {
            auto* into = static_cast<Visit*>(context);
            CFDictionaryRemoveAllValues(into->dictionary);
            CFDictionarySetValue(into->dictionary, Int(7), CFSTR("new"));
            into->seen.emplace(Text(static_cast<CFStringRef>(key)),
                               Text(static_cast<CFStringRef>(value)));
        },
        &visit);
    const std::map<std::u16string, std::u16string> expected = {
        {u"a", u"a!"}, {u"b", u"b!"}, {u"c", u"c!"}};
    EXPECT_EQ(visit.seen, expected);
}

// Releasing a value runs foreign code, which finds the dictionary in order.
TEST(CFDictionary, CallbacksMayUseTheDictionary) {
    static CFMutableDictionaryRef sDictionary;
    static int sReleased;
    sReleased = 0;
    const CFDictionaryValueCallBacks callBacks = {
        0, nullptr,
        [](CFAllocatorRef, const void* value) {
            ++sReleased;
            EXPECT_NE(CFDictionaryGetValue(sDictionary, CFSTR("a")), value);
        },
        nullptr, nullptr};
    const auto dictionary =
        Own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &callBacks));
    sDictionary = dictionary;
    int values[3];
    CFDictionarySetValue(dictionary, CFSTR("a"), &values[0]);
    CFDictionarySetValue(dictionary, CFSTR("a"), &values[1]);
    EXPECT_EQ(sReleased, 1);
    CFDictionaryRemoveValue(dictionary, CFSTR("a"));
    EXPECT_EQ(sReleased, 2);
    CFDictionarySetValue(dictionary, CFSTR("a"), &values[2]);
    CFDictionaryRemoveAllValues(dictionary);
    EXPECT_EQ(sReleased, 3);
}

}  // namespace
