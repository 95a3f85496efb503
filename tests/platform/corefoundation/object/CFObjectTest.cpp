#include "tests/support/PlatformValues.h"

#include <gtest/gtest.h>

#include <limits>

using namespace tvtest;

namespace {

TEST(CFObject, CountsReferences) {
    const auto string = Str(u"shared");
    OnThreads(4, [&](int) {
        for (int n = 0; n < 5000; ++n) {
            ArrayOf({string});
        }
    });
    EXPECT_EQ(CFGetRetainCount(string), 1);
    const CFTypeRef immortals[] = {CFSTR("immortal"), kCFBooleanTrue, kCFAllocatorNull};
    for (CFTypeRef immortal : immortals) {
        CFRelease(immortal);
        CFRelease(immortal);
        EXPECT_EQ(CFGetRetainCount(immortal), std::numeric_limits<CFIndex>::max());
    }
}

// Stands for any reference in a call.
struct Wrong {
    const void* object;
    template <class Ref>
    operator Ref() const {
        return static_cast<Ref>(const_cast<void*>(object));
    }
};

// Returns true if each is false, 0 or null.
template <class... Results>
bool areNone(Results... results) {
    return (!results && ...);
}

// Each function, given null and an object that is of no family.
TEST(CFObject, NullAndAnotherTypeCountAsNothing) {
    const CFStringRef x = CFSTR("x");
    for (const Wrong w : {Wrong{nullptr}, Wrong{kCFAllocatorNull}}) {
        UInt8 bytes[4] = "abc";
        char* chars = reinterpret_cast<char*>(bytes);
        int value = 7;
        EXPECT_TRUE(
            areNone(CFStringGetLength(w), CFStringGetCharacterAtIndex(w, 0),
                    CFStringGetBytes(w, {0, 0}, kCFStringEncodingUTF8, 0, false, bytes, 4, nullptr),
                    CFStringGetCString(w, chars, 4, kCFStringEncodingUTF8),
                    CFStringCreateCopy(nullptr, w), CFStringCreateMutableCopy(nullptr, 0, w),

                    CFStringCreateWithFormat(nullptr, nullptr, w)));
        EXPECT_TRUE(areNone(
            CFBooleanGetValue(w), CFNumberGetType(w), CFNumberIsFloatType(w),
            CFNumberGetValue(w, kCFNumberIntType, &value), CFEqual(w, kCFBooleanTrue),
            CFRunLoopIsWaiting(w), CFRunLoopSourceCreate(nullptr, 0, nullptr), CFArrayGetCount(w),
            CFArrayGetValueAtIndex(w, 0), CFDictionaryGetCount(w), CFDictionaryContainsKey(w, x),
            CFDictionaryGetValue(w, x), CFDictionaryCreateCopy(nullptr, w),
            CFDictionaryCreateMutableCopy(nullptr, 0, w)));
        EXPECT_TRUE(areNone(
            CFURLGetFileSystemRepresentation(w, true, bytes, 4), CFURLGetString(w),
            CFURLCopyStrictPath(w, nullptr), CFURLCreateWithString(nullptr, w, nullptr),
            CFURLCreateCopyAppendingPathComponent(nullptr, w, x, false),
            CFURLCreateCopyDeletingLastPathComponent(nullptr, w),
            CFURLCreateStringByReplacingPercentEscapes(nullptr, w, x),
            CFURLCreateStringByAddingPercentEscapes(nullptr, w, x, x, kCFStringEncodingUTF8)));
        CFStringAppend(w, x);
        CFStringReplaceAll(w, x);
        CFStringAppendCString(w, "x", kCFStringEncodingUTF8);
        CFArrayAppendValue(w, x);
        CFArrayRemoveAllValues(w);
        CFDictionarySetValue(w, x, x);
        CFDictionaryAddValue(w, x, x);
        CFDictionaryRemoveValue(w, x);
        CFDictionaryGetKeysAndValues(w, nullptr, nullptr);
        CFRunLoopWakeUp(w);
        CFRunLoopSourceSignal(w);
        CFRunLoopAddSource(w, w, kCFRunLoopDefaultMode);
        EXPECT_EQ(CFStringCompare(w, CFSTR(""), 0), kCFCompareLessThan);
        EXPECT_EQ(CFNumberCompare(w, Int(INT64_MIN), nullptr), kCFCompareLessThan);
        EXPECT_STREQ(chars, "abc");
        EXPECT_EQ(value, 7);
    }
    CFRelease(nullptr);
    EXPECT_TRUE(areNone(CFRetain(nullptr), CFGetRetainCount(nullptr), CFGetTypeID(nullptr),
                        CFHash(nullptr)));
    EXPECT_TRUE(CFEqual(nullptr, nullptr));
    EXPECT_EQ(Dump(nullptr), u"(null)");
}

// Were any of this to recurse without bound, the stack would not suffice. With two copies in each
// array there are 2 to the power of 100 ways to the inmost object.
TEST(CFObject, ComparesAndReleasesNestsOfAnyDepth) {
    const auto a = Nest(300000, CFSTR("x")), b = Nest(300000, CFSTR("x"));
    EXPECT_FALSE(CFEqual(a, b));
    EXPECT_TRUE(CFEqual(a, a));
    EXPECT_EQ(CFHash(a), CFHash(b));
    EXPECT_TRUE(CFEqual(Nest(100, CFSTR("x"), 2), Nest(100, CFSTR("x"), 2)));
    EXPECT_FALSE(CFEqual(Nest(100, CFSTR("x"), 2), Nest(100, CFSTR("y"), 2)));
    EXPECT_FALSE(CFEqual(Nest(100, CFSTR("x")), Nest(101, CFSTR("x"))));
}

}  // namespace
