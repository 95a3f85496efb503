#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <thread>
#include <vector>

using namespace tvtest;

namespace {

// Nests an array in itself `depth` times over, with a string inmost.
Owned<CFTypeRef> nest(int depth, std::u16string_view inmost) {
    Owned<CFTypeRef> nested(CFRetain(Str(inmost)));
    for (int i = 0; i < depth; ++i) {
        const void* value = nested;
        nested = Owned<CFTypeRef>(CFArrayCreate(nullptr, &value, 1, &kCFTypeArrayCallBacks));
    }
    return nested;
}

TEST(CFObject, CountsReferences) {
    const auto string = Str(u"x");
    EXPECT_EQ(CFRetain(string), string);
    EXPECT_EQ(CFGetRetainCount(string), 2);
    CFRelease(string);
    EXPECT_EQ(CFGetRetainCount(string), 1);
    const CFTypeRef immortals[] = {CFSTR("immortal"), kCFBooleanTrue, kCFAllocatorNull};
    for (CFTypeRef immortal : immortals) {
        CFRelease(immortal);
        CFRelease(immortal);
        EXPECT_EQ(CFGetRetainCount(immortal), std::numeric_limits<CFIndex>::max());
    }
}

TEST(CFObject, CountsOnManyThreads) {
    const auto array = Own(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
    const auto string = Str(u"shared");
    CFArrayAppendValue(array, string);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 5000; ++n) {
                const void* value = string;
                Own(CFArrayCreate(nullptr, &value, 1, &kCFTypeArrayCallBacks));
                Own(CFArrayCreateCopy(nullptr, array));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(CFGetRetainCount(string), 2);
}

// Stands for any reference in a call.
struct Wrong {
    const void* object;
    template <class Ref>
    operator Ref() const {
        return static_cast<Ref>(const_cast<void*>(object));
    }
};

// Each function, given null and an object that is of no family.
TEST(CFObject, NullAndAnotherTypeCountAsNothing) {
    const CFStringRef x = CFSTR("x");
    for (const Wrong w : {Wrong{nullptr}, Wrong{kCFAllocatorNull}}) {
        UInt8 bytes[4] = "abc";
        char* chars = reinterpret_cast<char*>(bytes);
        int value = 7;
        const CFIndex counts[] = {
            CFStringGetLength(w),
            CFStringGetCharacterAtIndex(w, 0),
            CFDataGetLength(w),
            CFDictionaryGetCount(w),
            CFArrayGetCount(w),
            CFNumberGetType(w),
            CFStringFindAndReplace(w, x, x, {0, 0}, 0),
            CFStringFindAndReplace(Own(CFStringCreateMutableCopy(nullptr, 0, x)), x, w, {0, 1}, 0),
            CFStringGetBytes(w, {0, 0}, kCFStringEncodingUTF8, 0, false, bytes, 4, nullptr)};
        EXPECT_EQ(std::count(std::begin(counts), std::end(counts), 0), std::ssize(counts));
        const Boolean flags[] = {CFStringGetCString(w, chars, 4, kCFStringEncodingUTF8),
                                 CFStringHasPrefix(w, x),
                                 CFStringHasSuffix(x, w),
                                 CFBooleanGetValue(w),
                                 CFNumberIsFloatType(w),
                                 CFNumberGetValue(w, kCFNumberIntType, &value),
                                 CFDictionaryContainsKey(w, x),
                                 CFURLGetFileSystemRepresentation(w, true, bytes, 4),
                                 CFEqual(w, kCFBooleanTrue)};
        EXPECT_EQ(std::count(std::begin(flags), std::end(flags), 0), std::ssize(flags));
        const void* made[] = {
            CFStringCreateCopy(nullptr, w),
            CFStringCreateMutableCopy(nullptr, 0, w),
            CFStringCreateWithSubstring(nullptr, w, {0, 0}),
            CFStringCreateWithFormat(nullptr, nullptr, w),
            CFArrayCreateCopy(nullptr, w),
            CFArrayGetValueAtIndex(w, 0),
            CFDictionaryCreateCopy(nullptr, w),
            CFDictionaryCreateMutableCopy(nullptr, 0, w),
            CFDictionaryGetValue(w, x),
            CFDataGetBytePtr(w),
            CFURLGetString(w),
            CFURLCopyAbsoluteURL(w),
            CFURLCopyStrictPath(w, nullptr),
            CFURLCreateWithString(nullptr, w, nullptr),
            CFURLCreateCopyAppendingPathComponent(nullptr, w, x, false),
            CFURLCreateCopyDeletingLastPathComponent(nullptr, w),
            CFURLCreateStringByReplacingPercentEscapes(nullptr, w, x),
            CFURLCreateStringByAddingPercentEscapes(nullptr, w, x, x, kCFStringEncodingUTF8)};
        EXPECT_EQ(std::count(std::begin(made), std::end(made), nullptr), std::ssize(made));
        CFStringAppend(w, x);
        CFStringReplaceAll(w, x);
        CFStringAppendCString(w, "x", kCFStringEncodingUTF8);
        CFStringAppendFormat(w, nullptr, x);
        CFArrayAppendValue(w, x);
        CFArrayRemoveAllValues(w);
        CFDictionarySetValue(w, x, x);
        CFDictionaryAddValue(w, x, x);
        CFDictionaryRemoveValue(w, x);
        CFDictionaryRemoveAllValues(w);
        CFDictionaryApplyFunction(w, nullptr, nullptr);
        CFDictionaryGetKeysAndValues(w, nullptr, nullptr);
        EXPECT_EQ(CFStringFind(w, x, 0).location, kCFNotFound);
        EXPECT_EQ(CFStringCompare(w, CFSTR(""), 0), kCFCompareLessThan);
        EXPECT_EQ(CFNumberCompare(w, Int(INT64_MIN), nullptr), kCFCompareLessThan);
        EXPECT_STREQ(chars, "abc");
        EXPECT_EQ(value, 7);
    }
    CFRelease(nullptr);
    EXPECT_TRUE(CFEqual(CFRetain(nullptr), nullptr));
    EXPECT_EQ(CFGetRetainCount(nullptr), 0);
    EXPECT_EQ(CFGetTypeID(nullptr) + CFHash(nullptr), 0U);
    EXPECT_EQ(Dump(nullptr), u"(null)");
}

// Were any of this to recurse without bound, the stack would not suffice.
TEST(CFObject, ComparesAndReleasesNestsOfAnyDepth) {
    const auto a = nest(300000, u"x");
    const auto b = nest(300000, u"x");
    EXPECT_FALSE(CFEqual(a, b));
    EXPECT_TRUE(CFEqual(a, a));
    EXPECT_EQ(CFHash(a), CFHash(b));
    EXPECT_TRUE(CFEqual(nest(100, u"x"), nest(100, u"x")));
    EXPECT_FALSE(CFEqual(nest(100, u"x"), nest(100, u"y")));
    EXPECT_FALSE(CFEqual(nest(100, u"x"), nest(101, u"x")));
}

}  // namespace
