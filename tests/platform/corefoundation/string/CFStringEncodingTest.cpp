#include "tests/support/PlatformValues.h"
#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <thread>

using namespace tvtest;

namespace {

using std::string_view_literals::operator""sv;

Owned<CFStringRef> Decode(std::string_view bytes, CFStringEncoding encoding,
                          bool external = false) {
    return Own(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                       static_cast<CFIndex>(bytes.size()), encoding, external));
}

struct Bytes {
    CFIndex units;
    std::string bytes;
};

// CFStringGetBytes into a buffer of exactly `size` bytes, so that AddressSanitizer sees an overrun.
Bytes getBytes(std::u16string_view text, CFStringEncoding encoding, CFIndex size, UInt8 loss = 0,
               bool external = false) {
    const auto string = Str(text);
    const auto buffer = std::make_unique<UInt8[]>(static_cast<size_t>(size));
    CFIndex used = -1;
    const CFIndex units = CFStringGetBytes(string, Whole(string), encoding, loss, external,
                                           buffer.get(), size, &used);
    return {units, std::string(reinterpret_cast<char*>(buffer.get()), static_cast<size_t>(used))};
}

CFStringEncoding byName(const char* name) {
    return CFStringConvertIANACharSetNameToEncoding(__CFStringMakeConstantString(name));
}

// The bytes of a text, which take exactly as many bytes as they should: with a byte less, the
// buffer is untouched.
void expectBothWays(std::u16string_view text, std::string_view bytes, CFStringEncoding encoding) {
    SCOPED_TRACE(encoding);
    EXPECT_EQ(Text(Decode(bytes, encoding)), text);
    const Bytes encoded = getBytes(text, encoding, static_cast<CFIndex>(bytes.size()));
    EXPECT_EQ(encoded.bytes, bytes);
    EXPECT_EQ(encoded.units, static_cast<CFIndex>(text.size()));
    EXPECT_GE(CFStringGetMaximumSizeForEncoding(static_cast<CFIndex>(text.size()), encoding),
              static_cast<CFIndex>(bytes.size()));

    const std::string terminated(bytes);
    const auto fromC = Own(CFStringCreateWithCString(nullptr, terminated.c_str(), encoding));
    if (fromC == nullptr) {
        return;
    }
    const auto size = static_cast<CFIndex>(bytes.size()) + 1;
    const auto buffer = std::make_unique<char[]>(static_cast<size_t>(size));
    std::memset(buffer.get(), '?', static_cast<size_t>(size));
    EXPECT_FALSE(CFStringGetCString(fromC, buffer.get(), size - 1, encoding));
    EXPECT_EQ(std::string(buffer.get(), static_cast<size_t>(size)),
              std::string(static_cast<size_t>(size), '?'));
    EXPECT_TRUE(CFStringGetCString(fromC, buffer.get(), size, encoding));
    EXPECT_EQ(buffer.get(), bytes);
}

TEST(CFStringEncoding, ConvertsBothWays) {
    expectBothWays(u"", "", kCFStringEncodingUTF8);
    expectBothWays(u"a\x7F\x80\x7FF\x800\xFFFF", "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF",
                   kCFStringEncodingUTF8);
    expectBothWays(u"\U00010000\U0010FFFFz", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBFz",
                   kCFStringEncodingUTF8);
    expectBothWays(u"\x80\x80\x80\x80", "\xC2\x80\xC2\x80\xC2\x80\xC2\x80", kCFStringEncodingUTF8);
    expectBothWays(u"plain text of sixteen and more", "plain text of sixteen and more",
                   kCFStringEncodingASCII);
    expectBothWays(u"\x80é\xFF", "\x80\xE9\xFF", kCFStringEncodingISOLatin1);
    expectBothWays(u"€é", "\x80\xE9", kCFStringEncodingWindowsLatin1);
    expectBothWays(u"Éé†", "\x83\x8E\xA0", kCFStringEncodingMacRoman);
    expectBothWays(u"Łódź", "\xA3\xF3\x64\xBC", byName("ISO-8859-2"));
    expectBothWays(u"Привет", "\xF0\xD2\xC9\xD7\xC5\xD4", byName("KOI8-R"));
    expectBothWays(u"日本", "\xC6\xFC\xCB\xDC", byName("EUC-JP"));
    expectBothWays(u"a日b本", "a\x1B$BF|\x1B(Bb\x1B$BK\\\x1B(B", byName("ISO-2022-JP"));
    expectBothWays(u"😀é", "\x94\x39\xFC\x36\xA8\xA6", byName("GB18030"));
    expectBothWays(u"a\xE9", "\x81\x51", byName("IBM037"));  // not even letters as in ASCII
    expectBothWays(u"é😀", "\xE9\0\x3D\xD8\0\xDE"sv, kCFStringEncodingUTF16LE);
    expectBothWays(u"é😀", "\0\xE9\xD8\x3D\xDE\0"sv, kCFStringEncodingUTF16BE);
    expectBothWays(u"é😀", "\xE9\0\0\0\0\xF6\x01\0"sv, kCFStringEncodingUTF32LE);
    expectBothWays(u"é😀", "\0\0\0\xE9\0\x01\xF6\0"sv, kCFStringEncodingUTF32BE);
}

TEST(CFStringEncoding, RefusesBytesThatAreNotValid) {
    const std::pair<CFStringEncoding, std::vector<std::string_view>> cases[] = {
        {kCFStringEncodingUTF8,
         {"\xC3", "a\xE2\x82", "\xF0\x9F\x98", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
          "eight by\x80"}},
        {kCFStringEncodingASCII, {"\x80"}},
        {kCFStringEncodingWindowsLatin1, {"\x81"}},
        {byName("EUC-JP"), {"\xC6\xFC\xCB"}},
        {byName("ISO-2022-JP"), {"\x1B$BF"}},
        {kCFStringEncodingUTF16LE, {"abc", "\x00\xD8"sv, "\x00\xDC\x00\xD8"sv}},
        {kCFStringEncodingUTF32LE, {"\x00\xD8\0\0\x00\xDC\0\0"sv, "\0\0\x11\0"sv, "abc"}},
        {0x12345, {"a"}},
        {kCFStringEncodingInvalidId, {"a", ""}}};
    for (const auto& [encoding, list] : cases) {
        for (const std::string_view bytes : list) {
            EXPECT_EQ(Decode(bytes, encoding), nullptr)
                << testing::PrintToString(bytes) << ' ' << encoding;
        }
    }
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
                    ASSERT_EQ(getBytes(Text(string), kCFStringEncodingUTF8, 3).bytes, bytes);
                }
            }
        }
    }
    // Three plain bytes, one beside a pair, and the threes that begin with E0, E1, ED and EF.
    EXPECT_EQ(decoded, 2 * 2 * 2 + 2 * (2 * 6 * 2) + (2 + 6 + 4 + 6) * 6);
}

TEST(CFStringEncoding, RefusesTextThatDoesNotFit) {
    const std::pair<CFStringEncoding, std::vector<std::u16string_view>> cases[] = {
        {kCFStringEncodingASCII, {u"\x80"}},
        {kCFStringEncodingISOLatin1, {u"Ā"}},
        {kCFStringEncodingWindowsLatin1, {u"ł"}},
        {byName("ISO-8859-2"), {u"“", u"a\U000E0041"}},
        {byName("EUC-JP"), {u"😀", u"日\U000E0041"}},
        {byName("GB18030"), {u"\xD800"}},
        {kCFStringEncodingUTF8, {u"a\xD800", u"\xDC00z", u"\xD800\xD800\xDC00"}},
        {kCFStringEncodingUTF16, {u"a"}},
        {kCFStringEncodingInvalidId, {u"a"}}};
    for (const auto& [encoding, list] : cases) {
        for (const std::u16string_view text : list) {
            char buffer[16] = "kept";
            EXPECT_FALSE(CFStringGetCString(Str(text), buffer, 16, encoding)) << encoding;
            EXPECT_STREQ(buffer, "kept");
        }
    }
    EXPECT_EQ(getBytes(u"\xD800", kCFStringEncodingUTF16LE, 8).units, 0);
    char buffer[4] = "abc";
    EXPECT_FALSE(CFStringGetCString(CFSTR(""), buffer, 0, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR(""), buffer, -1, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(CFSTR(""), nullptr, 4, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "abc");
}

TEST(CFStringEncoding, GetsAsManyBytesAsFit) {
    const struct {
        std::u16string_view text;
        CFStringEncoding encoding;
        CFIndex size;
        UInt8 loss;
        CFIndex units;
        std::string_view bytes;
    } cases[] = {{u"aé😀", kCFStringEncodingUTF8, 6, 0, 2, "a\xC3\xA9"},
                 {u"aé😀", kCFStringEncodingUTF8, 2, 0, 1, "a"},
                 {u"aé😀", kCFStringEncodingUTF8, 0, 0, 0, ""},
                 {u"aéb", kCFStringEncodingASCII, 9, 0, 1, "a"},
                 {u"a😀b", kCFStringEncodingASCII, 9, '?', 4, "a?b"},
                 {u"a😀b", kCFStringEncodingASCII, 2, '?', 3, "a?"},
                 {u"a\xD800", kCFStringEncodingUTF8, 9, '?', 2, "a?"},
                 {u"日😀本", byName("EUC-JP"), 9, '?', 4, "\xC6\xFC?\xCB\xDC"},
                 {u"日本", byName("ISO-2022-JP"), 9, 0, 1, "\x1B$BF|\x1B(B"},
                 {u"日本", byName("ISO-2022-JP"), 7, 0, 0, ""},
                 {u"ab", kCFStringEncodingUTF16BE, 3, 0, 1, "\0a"sv}};
    for (const auto& c : cases) {
        const Bytes got = getBytes(c.text, c.encoding, c.size, c.loss);
        EXPECT_EQ(got.units, c.units) << testing::PrintToString(c.bytes);
        EXPECT_EQ(got.bytes, c.bytes);
    }
    CFIndex used = 0;
    EXPECT_EQ(CFStringGetBytes(CFSTR("abc"), CFRangeMake(1, 2), kCFStringEncodingUTF8, 0, false,
                               nullptr, 0, &used),
              2);
    EXPECT_EQ(used, 2);
    EXPECT_EQ(CFStringGetBytes(CFSTR("abc"), CFRangeMake(1, 3), kCFStringEncodingUTF8, 0, false,
                               nullptr, 0, &used),
              0);
    EXPECT_EQ(used, 0);
}

TEST(CFStringEncoding, ExternalFormsHaveMarks) {
    EXPECT_EQ(Text(Decode("\xEF\xBB\xBF"
                          "a",
                          kCFStringEncodingUTF8, true)),
              u"a");
    EXPECT_EQ(Text(Decode("\xEF\xBB\xBF"
                          "a",
                          kCFStringEncodingUTF8)),
              u"\xFEFF"
              u"a");
    EXPECT_EQ(Text(Decode("\xFE\xFF\0a"sv, kCFStringEncodingUTF16, true)), u"a");
    EXPECT_EQ(Text(Decode("\xFF\xFE"
                          "a\0"sv,
                          kCFStringEncodingUTF16, true)),
              u"a");
    EXPECT_EQ(Text(Decode("\0a"sv, kCFStringEncodingUTF16, true)), u"a");
    EXPECT_EQ(Text(Decode("\xFF\xFE\0\0a\0\0\0"sv, kCFStringEncodingUTF32, true)), u"a");
    for (const CFStringEncoding encoding : {kCFStringEncodingUTF16, kCFStringEncodingUTF32}) {
        const Bytes marked = getBytes(u"aé", encoding, 16, 0, true);
        EXPECT_EQ(Text(Decode(marked.bytes, encoding, true)), u"aé");
        EXPECT_LE(static_cast<CFIndex>(marked.bytes.size()),
                  CFStringGetMaximumSizeForEncoding(2, encoding));
        // A mark and one character take as much room as two characters.
        const CFIndex room = encoding == kCFStringEncodingUTF16 ? 5 : 9;
        EXPECT_EQ(getBytes(u"ab", encoding, room, 0, true).units, 1);
        EXPECT_EQ(getBytes(u"a", encoding, 1, 0, true).units, 0);
    }
}

TEST(CFStringEncoding, NamesAndNumbers) {
    const std::pair<CFStringEncoding, std::vector<const char*>> cases[] = {
        {kCFStringEncodingUTF8, {"utf-8", "UTF8"}},
        {kCFStringEncodingISOLatin1, {"iso_8859-1", "latin1"}},
        {kCFStringEncodingWindowsLatin1, {"windows-1252", "CP1252"}},
        {kCFStringEncodingMacRoman, {"macintosh"}},
        {0x020F, {"ISO-8859-15"}}};
    for (const auto& [encoding, names] : cases) {
        for (const char* name : names) {
            EXPECT_EQ(byName(name), encoding) << name;
        }
        const auto name = CFStringConvertEncodingToIANACharSetName(encoding);
        EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(name), encoding);
    }
    // Nothing that is more or less than a name reaches iconv.
    for (const char* name : {"", "no-such-charset", "UTF-8//IGNORE", "ISO-8859-2//TRANSLIT", "//",
                             "char", "../UTF-8", "ISO-8859-2,"}) {
        EXPECT_EQ(byName(name), kCFStringEncodingInvalidId) << name;
    }
    const CFStringEncoding unnumbered = byName("CP775");
    EXPECT_TRUE(CFStringIsEncodingAvailable(unnumbered));
    EXPECT_EQ(byName("cp775"), unnumbered);
    EXPECT_NE(byName("CP1125"), unnumbered);
    EXPECT_EQ(Text(CFStringConvertEncodingToIANACharSetName(unnumbered)), u"CP775");
    EXPECT_FALSE(CFStringIsEncodingAvailable(unnumbered + 4000));

    constexpr CFIndex cMost = std::numeric_limits<CFIndex>::max();
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(cMost / 3, kCFStringEncodingUTF8), cMost / 3 * 3);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(cMost / 3 + 1, kCFStringEncodingUTF8), kCFNotFound);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(cMost / 8, unnumbered), kCFNotFound);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(-1, kCFStringEncodingUTF8), kCFNotFound);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(1, kCFStringEncodingInvalidId), kCFNotFound);
}

TEST(CFStringEncoding, SystemEncodingIsNamedByTheEnvironment) {
    const auto with = [](std::optional<std::string> name) {
        const ScopedEnv environment("TV_SYSTEM_ENCODING", std::move(name));
        return CFStringGetSystemEncoding();
    };
    const CFStringEncoding usual = with(std::nullopt);
    EXPECT_EQ(with("ISO-8859-1"), kCFStringEncodingISOLatin1);
    EXPECT_EQ(with("utf8"), kCFStringEncodingUTF8);
    EXPECT_EQ(with("CP775"), byName("CP775"));
    // What is unknown, more than a name, or no encoding of C strings counts as nothing.
    for (const char* name : {"", "no-such-charset", "ISO-8859-1//TRANSLIT", "UTF-16", "UCS-4LE"}) {
        EXPECT_EQ(with(name), usual) << name;
    }
    const ScopedEnv locale("LC_ALL", "de_DE.ISO-8859-1");
    EXPECT_EQ(with(std::nullopt), usual);
}

// The kept conversions are shared by the threads; one that shifts shows what a wrong state does.
TEST(CFStringEncoding, ConvertsOnManyThreads) {
    const char* names[] = {"ISO-2022-JP", "EUC-JP", "SHIFT_JIS", "GB18030", "CP932", "ISO-2022-JP"};
    std::vector<std::thread> threads;
    for (const char* name : names) {
        threads.emplace_back([name] {
            const CFStringEncoding encoding = byName(name);
            for (int i = 0; i < 300; ++i) {
                const std::string bytes = getBytes(u"a日b本", encoding, 64).bytes;
                ASSERT_EQ(Text(Decode(bytes, encoding)), u"a日b本");
                ASSERT_EQ(getBytes(u"日\xD800", encoding, 64).units, 1);
                ASSERT_EQ(Decode(bytes.substr(0, bytes.size() - 1) + "\xFF", encoding), nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(CFStringEncoding, FileSystemPathsHaveNoZeroInside) {
    char buffer[8] = "kept";
    EXPECT_FALSE(
        CFStringGetFileSystemRepresentation(Str(std::u16string_view(u"a\0b", 3)), buffer, 8));
    EXPECT_FALSE(CFStringGetFileSystemRepresentation(CFSTR("/bin/sh1"), buffer, 8));
    EXPECT_STREQ(buffer, "kept");
    EXPECT_TRUE(CFStringGetFileSystemRepresentation(CFSTR("/bin/sh"), buffer, 8));
    EXPECT_STREQ(buffer, "/bin/sh");
    EXPECT_EQ(CFStringCreateWithFileSystemRepresentation(nullptr, "\xFF"), nullptr);
}

}  // namespace
