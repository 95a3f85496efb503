#include "text/URI.h"
#include "text/CString.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>

using namespace Tova;

namespace {

TEST(URI, EscapesByLevelAndFormat) {
    std::string legal;
    for (int c = -128; c < 128; ++c) {
        legal += Ch::IsLegalInURI(static_cast<char>(c)) ? std::string(1, static_cast<char>(c)) : "";
    }
    EXPECT_EQ(legal,
              "\"-.0123456789<>ABCDEFGHIJKLMNOPQRSTUVWXYZ\\^_`abcdefghijklmnopqrstuvwxyz{|}~");
    const std::tuple<const char*, int, int, const char*> cases[] = {
        {"John Smith", 0, 7, "John%20Smith"},
        {"a+b@c&", 0, 2, "a%2Bb%40c%26"},
        {"aZ~_b-9.", -3, 1, "aZ%7E_b-9."},
        {"\x01\x1F\x7F", 0, 1, "%01%1F%7F"},
        {"caf\xE9 noir", 0, 2, "caf%"},
        {"100%41", 0, 1, "100%2541"},
        // Through the platform.
        {"http://h/a b?c=%41", 1, 0, "http%3A%2F%2Fh%2Fa%20b%3Fc%3DA"},
        {"\xC3\xA4%C3%A4<~%22", 1, 0, "%C3%A4%C3%A4%3C~%22"},
        {"50%", 0, 0, ""},
        {"a\xFF", 0, 0, ""}};
    for (const auto& [source, level, format, expected] : cases) {
        CString s("old");
        s.ToURIEscapedString(source, {}, Ch::URIEncodeLevel(level), Ch::URIFormat(format));
        EXPECT_EQ(s, CString(expected)) << s.CStr() << " from " << source;
    }
}

TEST(URI, TranslatesAndKeepsEscapes) {
    const char* const none = nullptr;
    const std::tuple<const char*, const char*, const char*, bool, const char*> cases[] = {
        {"%41/%zz&", none, none, true, "%41%2F%zz%26"},
        {"%\xE9\xE9/", none, none, true, "%\xE9\xE9%2F"},
        {"a%bc", "%", "!", true, "a%bc"},
        {"a%b\xE9", "%\xE9", "!?", false, "a!b?"},
        {"xyz", "yaz", "1", false, "x1"}};
    for (const auto& [source, from, to, keepEscapes, expected] : cases) {
        CString s;
        s.TranslateToURIString(source, false, from, to, keepEscapes);
        EXPECT_EQ(s, CString(expected)) << s.CStr() << " from " << source;
    }
}

TEST(URI, OwnTextLosesKeepEscapes) {
    CString s("xx%41/ y");
    s.TranslateToURIString(s.CStr() + 2, true, " ", "+", true);
    EXPECT_STREQ(s.CStr(), "%2541%2F+y");
    s = "a b%41";
    s.TranslateToMacURIString(s.CStr());
    EXPECT_STREQ(s.CStr(), "a%20bA");
}

// With the set of a form the text goes in blocks, with a larger set only through the table.
TEST(URI, BlocksAgreeWithEscapingByteByByte) {
    std::mt19937 random(3);
    for (int round = 0; round < 4000; ++round) {
        const auto any = 1 + random() % 40, length = random() % 80;
        const bool strict = round % 2 == 0;
        std::string source, expected;
        while (source.size() < length) {
            const auto c = static_cast<char>(random() % any == 0 ? 1 + random() % 255 : 'a' + any);
            source += c;
            const bool kept = strict ? Ch::IsCommonUnreservedInURI(c) : Ch::IsLegalInURI(c);
            expected += c == ' ' ? "+"
                        : kept   ? std::string(1, c)
                                 : std::string{'%', Ch::HexChar(c >> 4), Ch::HexChar(c & 15)};
        }
        for (const auto& [from, to] : {std::pair(" ", "+"), {" \n", "+?"}}) {
            CString s;
            s.TranslateToURIString(source.c_str(), strict, from, to, false);
            for (std::size_t at; to[1] != 0 && (at = expected.find("%0A")) != std::string::npos;) {
                expected.replace(at, 3, "?");
            }
            ASSERT_STREQ(s.CStr(), expected.c_str()) << from << " in " << source;
        }
    }
}

}  // namespace
