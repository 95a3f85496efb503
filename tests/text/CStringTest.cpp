#include "text/CString.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/TempHome.h"
#include "text/CFRef.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <tuple>

using namespace Tova;

namespace {

using Operation = std::function<void(CString&)>;

CString filled(int length) {
    CString s;
    s.Append('x', length);
    return s;
}

TEST(CString, AllocatesOnlyWhereItWritesAndInHundreds) {
    static constinit CString s;  // usable before any other static is initialised
    s.Copy(nullptr);
    s.Append("abc", 0);
    s.Delete(0, -1);
    EXPECT_EQ(s.CStr(), CString::cEmptyStr);
    s.Append('x', 0);
    EXPECT_TRUE(s.CStr() != CString::cEmptyStr && s.IsEmpty());
    for (const auto& [asked, capacity] :
         {std::pair(1, 100), {100, 100}, {101, 200}, {50, 200}, {1100, 1100}}) {
        s.Alloc(asked);
        EXPECT_EQ(s.Capacity(), capacity) << asked;
    }
    for (const int n : {INT_MAX, INT_MAX - 46}) {
        EXPECT_THROW(s.Alloc(n), std::bad_alloc) << n;
        EXPECT_THROW(filled(100).Append('x', n - 101), std::bad_alloc) << n;
    }
}

TEST(CString, EditsAtTheLimits) {
    const std::tuple<const char*, Operation, const char*> cases[] = {
        {"ab", [](CString& s) { s.Append("cde", -5); }, "abcde"},
        {"ab", [](CString& s) { s.Insert("XY", -1, INT_MAX); }, "abXY"},
        {"abcd", [](CString& s) { s.Delete(1, INT_MAX); }, "a"},
        {"z", [](CString& s) { s.MidOf("abcdef", 4, INT_MAX); }, "ef"},
        {"z", [](CString& s) { s.MidOf(nullptr, -1, 2); }, "z"},
        {"abc", [](CString& s) { s.Lock(250)[1] = '\0', s.Unlock(); }, "a"},
        {"\xA0 a", [](CString& s) { s.TrimLeft(); }, "\xA0 a"},
        {"az\xE4{`", [](CString& s) { s.ToUpper(); }, "AZ\xE4{`"},
        {"abcd", [](CString& s) { s.Copy(s); }, "abcd"},
    };
    for (const auto& [before, change, after] : cases) {
        CString s(before);
        change(s);
        EXPECT_EQ(s, CString(after)) << s.CStr() << " from " << before;
        EXPECT_FALSE(s.IsLocked());
    }
}

TEST(CString, FindsAndCounts) {
    const CString text("abcb"), path("a/B/b");
    EXPECT_EQ(std::tuple(text.Find('B', 2, false), text.Find('B', 0, true), text.Find('b', 5, true),
                         text.Find('\0', 4, true), text.Find('\0', 1, false)),
              std::tuple(3, -1, -1, 4, 1));
    EXPECT_EQ(std::tuple(path.Count('/', 0, 1, true), path.Count('/', 0, -1, true),
                         path.Count('b', 0, 4, false)),
              std::tuple(1, 0, 2));
}

TEST(CString, FailedAllocationPropagates) {
    const CString text = filled(250);
    const CFRef<CFStringRef> platform(text.CreateCFString(kCFStringEncodingUTF8));
    const Operation operations[] = {
        [&](CString& s) { s.Copy(text); },
        [](CString& s) { s.Append('x', 100); },
        [](CString& s) { s.Insert(s.CStr(), 1); },
        [&](CString& s) { s.MidOf(text.CStr(), 1, -1); },
        [](CString& s) { s.Lock(101); },
        [&](CString& s) { s.CopyFromCFString(platform.Get(), kCFStringEncodingUTF8); },
        [](CString& s) { s.TranslateToURIString(s.CStr(), true, nullptr, nullptr, false); },
    };
    for (const Operation& operation : operations) {
        int failures = 0;
        for (bool failed = true; failed; ++failures) {
            CString s = filled(99);
            const tvtest::FailAllocation fail(failures);
            try {
                operation(s);
            } catch (const std::bad_alloc&) {
                EXPECT_LE(s.Length(), 99);
            }
            failed = fail.HasFailed();
        }
        EXPECT_GE(failures, 2) << "operation " << &operation - operations;
    }
}

TEST(CString, AdoptsOnlyMemoryThatServesItsCapacity) {
    for (const auto& [former, room, adopted, capacity] : {std::tuple(0, 256U, true, 200),
                                                          {50, 256U, true, 200},
                                                          {50, 200U, false, 200},
                                                          {300, 256U, false, 400},
                                                          {300, 512U, true, 400}}) {
        CString s = filled(former);
        std::unique_ptr<char[]> memory(new char[room]);
        std::memset(memory.get(), 'x', room);
        const char* address = memory.get();
        s.Adopt(std::move(memory), room, 150);
        EXPECT_EQ(s.CStr() == address, adopted) << former << " " << room;
        EXPECT_EQ(s.Capacity(), capacity) << former << " " << room;
        EXPECT_EQ(s.CStr(), std::string(150, 'x'));
    }
    CString s("old");
    EXPECT_THROW(s.Adopt(nullptr, SIZE_MAX, INT_MAX), std::bad_alloc);
    EXPECT_STREQ(s.CStr(), "old");
}

TEST(CString, ConvertsToAndFromPlatformStrings) {
    const tvtest::ScopedEnv latin("TV_SYSTEM_ENCODING", "ISO-8859-15");
    CString s("old");
    const CFRef<CFStringRef> text(CString("\xE4\xA4").CreateCFString(0xFFFFFFFF));
    // Of its two characters only the first is in Latin 1.
    EXPECT_FALSE(s.CopyFromCFString(nullptr, kCFStringEncodingUTF8) ||
                 s.CopyFromCFString(text.Get(), kCFStringEncodingISOLatin1));
    EXPECT_STREQ(s.CStr(), "old");
    EXPECT_TRUE(s.CopyFromCFString(text.Get(), kCFStringEncodingUTF8));
    EXPECT_STREQ(s.CStr(), "\xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(CString("\xFF").CreateCFString(kCFStringEncodingUTF8), nullptr);
}

}  // namespace
