#include "tests/support/PlatformValues.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace tvtest;

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

Owned<CFStringRef> Decode(std::string_view bytes, CFStringEncoding encoding) {
    return Own(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                       static_cast<CFIndex>(bytes.size()), encoding, false));
}

using Bytes = std::pair<CFIndex, std::string>;

// What CFStringGetBytes returns and writes into a buffer of exactly `size` bytes, so that
// AddressSanitizer sees an overrun.
Bytes getBytes(std::u16string_view text, CFStringEncoding encoding, CFIndex size, UInt8 loss = 0) {
    const auto string = Str(text);
    const auto buffer = std::make_unique<UInt8[]>(static_cast<size_t>(size));
    CFIndex used = -1;
    const CFIndex units =
        CFStringGetBytes(string, Whole(string), encoding, loss, false, buffer.get(), size, &used);
    return {units, std::string(reinterpret_cast<char*>(buffer.get()), static_cast<size_t>(used))};
}

// Returns the encoding that the environment variable with that value, or without one, chooses.
CFStringEncoding byName(std::optional<std::string> name) {
    const ScopedEnv environment("TV_SYSTEM_ENCODING", std::move(name));
    return CFStringGetSystemEncoding();
}

// The bytes of a text, which take exactly as many bytes as they should: with a byte less, the
// buffer is untouched.
void expectBothWays(std::u16string_view text, std::string_view bytes, CFStringEncoding encoding) {
    SCOPED_TRACE(encoding);
    const auto size = static_cast<CFIndex>(bytes.size());
    EXPECT_EQ(Text(Decode(bytes, encoding)), text);
    EXPECT_EQ(getBytes(text, encoding, size), Bytes(text.size(), bytes));
    EXPECT_GE(CFStringGetMaximumSizeForEncoding(static_cast<CFIndex>(text.size()), encoding), size);
    const std::string terminated(bytes);
    const auto fromC = Own(CFStringCreateWithCString(nullptr, terminated.c_str(), encoding));
    if (fromC != nullptr) {
        const std::vector<char> untouched(bytes.size() + 1, '?');
        std::vector<char> buffer = untouched;
        EXPECT_FALSE(CFStringGetCString(fromC, buffer.data(), size, encoding));
        EXPECT_EQ(buffer, untouched);
        EXPECT_TRUE(CFStringGetCString(fromC, buffer.data(), size + 1, encoding));
        EXPECT_EQ(buffer.data(), bytes);
    }
}

TEST(CFStringEncoding, ConvertsBothWays) {
    const std::tuple<CFStringEncoding, std::u16string_view, std::string_view> cases[] = {
        {kCFStringEncodingUTF8, u"", ""},
        {kCFStringEncodingUTF8, u"a\x7F\x80\x7FF\x800\xFFFF",
         "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {kCFStringEncodingUTF8, u"\U00010000\U0010FFFFz", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBFz"},
        {kCFStringEncodingASCII, u"text of sixteen and more", "text of sixteen and more"},
        {kCFStringEncodingISOLatin1, u"\x80é\xFF", "\x80\xE9\xFF"},
        {kCFStringEncodingWindowsLatin1, u"€é", "\x80\xE9"},
        {kCFStringEncodingMacRoman, u"Éé†", "\x83\x8E\xA0"},
        {0x0202, u"Łódź", "\xA3\xF3\x64\xBC"},
        {0x0419, u"٪a", "%a"},  // DOS Arabic has a sign of its own there
        {0x041B, u"Да", "\x84\xA0"},
        {0x0920, u"日本", "\xC6\xFC\xCB\xDC"},
        {0x0820, u"a日b本", "a\x1B$BF|\x1B(Bb\x1B$BK\\\x1B(B"},
        {0x0632, u"😀é", "\x94\x39\xFC\x36\xA8\xA6"},
        {byName("IBM037"), u"a\xE9", "\x81\x51"},  // not even letters as in ASCII
        {kCFStringEncodingUTF16LE, u"\xFEFFé😀", "\xFF\xFE\xE9\0\x3D\xD8\0\xDE"sv},
        {kCFStringEncodingUTF16BE, u"\xFEFFé😀", "\xFE\xFF\0\xE9\xD8\x3D\xDE\0"sv},
    };
    for (const auto& [encoding, text, bytes] : cases) {
        expectBothWays(text, bytes, encoding);
    }
    const UInt16 unit = 0x20AC;
    EXPECT_EQ(Text(Decode({reinterpret_cast<const char*>(&unit), 2}, kCFStringEncodingUTF16)),
              u"€");
    for (const auto encoding : {kCFStringEncodingUTF8, kCFStringEncodingISOLatin1}) {
        char buffer[9] = "before";
        EXPECT_FALSE(CFStringGetCString(Str(u"Ann\0Bob"sv), buffer, 9, encoding));
        EXPECT_STREQ(buffer, "before") << "no C string holds U+0000";
    }
}

TEST(CFStringEncoding, RefusesBytesThatAreNotValid) {
    const std::pair<CFStringEncoding, std::vector<std::string_view>> cases[] = {
        {kCFStringEncodingUTF8, {"\xC3", "a\xE2\x82", "\xF0\x9F\x98", "eight by\x80"}},
        {kCFStringEncodingUTF8, {"\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80"}},
        {kCFStringEncodingASCII, {"\x80"}},
        {kCFStringEncodingWindowsLatin1, {"\x81"}},
        {0x0820, {"\x1B$BF"}},
        {kCFStringEncodingUTF16LE, {"abc", "\x00\xD8"sv, "\x00\xDC\x00\xD8"sv}},
        {0x12345, {"a"}},
        {kCFStringEncodingInvalidId, {"a", ""}}};
    for (const auto& [encoding, list] : cases) {
        for (const std::string_view bytes : list) {
            EXPECT_EQ(Decode(bytes, encoding), nullptr) << testing::PrintToString(bytes);
        }
    }
    const UInt8 marked[] = {0xFE, 0xFF, 0, 'a'};
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, marked, 4, kCFStringEncodingUTF16, true), nullptr);
}

// Every sequence of up to three bytes from those at the borders, against the rule that what is
// decoded is what encodes to just these bytes.
TEST(CFStringEncoding, Utf8HasOneFormForEachText) {
    const std::string borders =
        "\x01\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC2\xDF\xE0\xE1\xED\xEF\xF0\xF4\xF5\xFF";
    int decoded = 0;
    for (const char a : borders) {
        for (const char b : borders) {
            for (const char c : borders) {
                const std::string bytes = {a, b, c};
                if (const auto string = Decode(bytes, kCFStringEncodingUTF8)) {
                    ++decoded;
                    ASSERT_EQ(getBytes(Text(string), kCFStringEncodingUTF8, 3).second, bytes);
                }
            }
        }
    }
    // Three plain bytes, one beside a pair, and the threes that begin with E0, E1, ED and EF.
    EXPECT_EQ(decoded, 2 * 2 * 2 + 2 * (2 * 6 * 2) + (2 + 6 + 4 + 6) * 6);
}

// A case tells the text, the encoding, the size of the buffer, the byte that stands for what the
// encoding lacks, and what is written.
TEST(CFStringEncoding, GetsAsManyBytesAsFit) {
    const std::tuple<std::u16string_view, CFStringEncoding, CFIndex, UInt8, Bytes> cases[] = {
        {u"aé😀", kCFStringEncodingUTF8, 6, 0, {2, "a\xC3\xA9"}},
        {u"aé😀", kCFStringEncodingUTF8, 2, 0, {1, "a"}},
        {u"a\xD800", kCFStringEncodingUTF8, 9, 0, {1, "a"}},
        {u"a\xD800", kCFStringEncodingUTF8, 9, '?', {2, "a?"}},
        {u"\xD800\xD800\xDC00", kCFStringEncodingUTF8, 9, 0, {0, ""}},
        {u"a😀b", kCFStringEncodingASCII, 2, '?', {3, "a?"}},
        {u"日\U000E0041", 0x0920, 9, 0, {1, "\xC6\xFC"}},
        {u"日😀本", 0x0920, 9, '?', {4, "\xC6\xFC?\xCB\xDC"}},
        {u"\xD800", 0x0632, 9, 0, {0, ""}},
        {u"日本", 0x0820, 9, 0, {1, "\x1B$BF|\x1B(B"}},
        {u"日本", 0x0820, 7, 0, {0, ""}},
        {u"ab", kCFStringEncodingUTF16BE, 3, 0, {1, "\0a"s}},
        {u"a", kCFStringEncodingInvalidId, 9, 0, {0, ""}}};
    char buffer[16] = "kept";
    for (const auto& [text, encoding, size, loss, expected] : cases) {
        EXPECT_EQ(getBytes(text, encoding, size, loss), expected);
        EXPECT_FALSE(CFStringGetCString(Str(text), buffer, std::min<CFIndex>(size, 7), encoding));
    }
    EXPECT_FALSE(CFStringGetCString(CFSTR("a"), buffer, 16, kCFStringEncodingUTF16));
    EXPECT_FALSE(CFStringGetCString(CFSTR(""), buffer, 0, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR(""), buffer, -1, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "kept");
    // Without a buffer, the bytes are counted. A range outside the string and a mark are refused.
    for (const auto& [length, isMarked, count] :
         {std::tuple(2L, false, 2L), {3L, false, 0L}, {2L, true, 0L}}) {
        CFIndex used = -1;
        EXPECT_EQ(CFStringGetBytes(CFSTR("abc"), {1, length}, kCFStringEncodingUTF8, 0, isMarked,
                                   nullptr, 0, &used),
                  count);
        EXPECT_EQ(used, count);
    }
    constexpr CFIndex cMost = std::numeric_limits<CFIndex>::max();
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(cMost / 3, kCFStringEncodingUTF8), cMost / 3 * 3);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(cMost / 3 + 1, kCFStringEncodingUTF8), kCFNotFound);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(-1, kCFStringEncodingUTF8), kCFNotFound);
}

TEST(CFStringEncoding, TheEnvironmentNamesTheSystemEncoding) {
    const CFStringEncoding usual = byName(std::nullopt);
    const std::pair<const char*, CFStringEncoding> cases[] = {
        {"utf-8", kCFStringEncodingUTF8},
        {"ISO-8859-1", kCFStringEncodingISOLatin1},
        {"latin1", kCFStringEncodingISOLatin1},
        {"windows-1252", kCFStringEncodingWindowsLatin1},
        {"macintosh", kCFStringEncodingMacRoman},
        {"ISO-8859-15", 0x020F},
        {"cp775", byName("CP775")}};
    for (const auto& [name, encoding] : cases) {
        EXPECT_EQ(byName(name), encoding) << name;
        const auto text = Own(CFStringCreateWithCString(nullptr, name, kCFStringEncodingUTF8));
        EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(text), encoding) << name;
    }
    // A name that is unknown, that iconv would read as more than a name, or that is of no encoding
    // of C strings has no effect.
    for (const char* name : {"", "no-such-charset", "ISO-8859-1//TRANSLIT", "ISO-8859-2,", "//",
                             "char", "../UTF-8", "UTF-16", "UCS-4LE"}) {
        EXPECT_EQ(byName(name), usual) << name;
    }
    EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(CFSTR("char")), kCFStringEncodingInvalidId);
    EXPECT_NE(byName("CP775"), byName("CP1125"));
    const ScopedEnv locale("LC_ALL", "de_DE.ISO-8859-1");
    EXPECT_EQ(byName(std::nullopt), usual);
}

// The kept conversions are shared by the threads; one that shifts shows what a wrong state does.
TEST(CFStringEncoding, ConvertsOnManyThreads) {
    const CFStringEncoding encodings[] = {0x0820, 0x0920, 0x0632, 0x0820};
    OnThreads(4, [&](int thread) {
        const CFStringEncoding encoding = encodings[thread];
        for (int i = 0; i < 300; ++i) {
            const std::string bytes = getBytes(u"a日b本", encoding, 64).second;
            ASSERT_EQ(Text(Decode(bytes, encoding)), u"a日b本");
            ASSERT_EQ(getBytes(u"日\xD800", encoding, 64).first, 1);
            ASSERT_EQ(Decode(bytes.substr(0, bytes.size() - 1) + "\xFF", encoding), nullptr);
        }
    });
}

}  // namespace
