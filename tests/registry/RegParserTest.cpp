#include "registry/RegParser.h"
#include "tests/registry/RegistryTesting.h"
#include "tests/streams/MemoryStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <tuple>
#include <vector>

namespace Tova {
namespace {

using tvtest::Dump;
using tvtest::MemoryStream;

// The text without its last line end, as one line: status, place of the fault, tree.
std::string readText(const std::string& text, unsigned flags = CStream::cTranslate) {
    MemoryStream stream(flags, text);
    stream.ReadUnicodeHeader();
    CMemRegistry root;
    RegReadReport report;
    const RStatus status = root.ReadFromStream(stream, report);
    std::ostringstream out;
    if (status != Ok) {
        out << (status == ErrSyntax ? "syntax" : "failure") << "@" << report.position.line << ":"
            << report.position.column << " ";
    }
    out << (report.format == RegFormat::Current ? "C " : "S ") << Dump(root);
    return out.str();
}

using Cases = std::vector<std::pair<std::string, std::string>>;

TEST(RegParser, CurrentFormat) {
    const std::string name63(63, 'n'), nul("\0", 1);
    const Cases cases = {
        {"d {\nx=2\n}\n}\nnever=read", "C d{x='2'}"},
        {"; c\r\nd\t{;d\n}x=\ny= ;{}\\ \t\n", "C ;' c' d{;'d'} x='' y=' ;{}\\ \t'"},
        {"a\n\n=1\nb \n {\n}", "C a='1' b{}"},
        {"a=1\nb=2\na=3\nd{x=1\n}d{y=2\n}", "C a='3' b='2' d{x='1' y='2'}"},
        {name63 + "=1", "C " + name63 + "='1'"},
        {"a=1\nb;c", "syntax@3:2 C a='1'"},
        {"d{x=1\n}d=2", "failure@3:2 C d{x='1'}"},
        {"a/9=1", "failure@2:1 C a{}"},
        {"a=1\n\n " + name63 + "n=1", "syntax@4:65 C a='1'"},
        {"d{x=1\n\xFFy=2\n}z=3\n\xFFgone=1", "C d{x='1'} y='2'"},
        // A stream does not keep it for the next read.
        {"a\xFF=1\nb" + nul + "=2", "C a='1' b='2'"},
        {"a=1" + nul + "2\n;c\xFF\n", "C a='1' ;'c\xFF'"},
        {"\xE9=1", "syntax@2:1 C "},
        {"n\xE9\x80=\xE9", "C n\xE9\x80='\xE9'"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(readText("!NWREG 1.0 {ignored } =\n" + text), expected) << text;
    }
    EXPECT_EQ(readText("!NWREG 1.0 {\r\na\r=1\r\n\r\n", 0), "syntax@3:1 C a\r='1\r'")
        << "no line-end translation";
    EXPECT_EQ(readText("!NWREG 1.0 {"), "C ");
    EXPECT_EQ(readText("!NWREG 1.0 {\r\rd{\rx=1\r}"), "C d{x='1'}");
}

TEST(RegParser, SectionedFormat) {
    const std::string name64(64, 'n'), longName = name64 + "tail", nul("\0", 1);
    const Cases cases = {
        {"[ My Sec ]\nkey name = v", "S My_Sec{key_name=' v'}"},
        {"x=1\n;before\n[s]\n;in\n \t x=1;2\n[t", "S ;'before' s{;'in' x='1;2'}"},
        {" !NWREG 1.0 {\na=1\n", "S "},
        {"!NWREG 1.0\n[s]x\na=1\n[abc\nb=2\nplain\n\n", "S s{a='1' b='2'}"},
        {"[a/b]\nc/d=1\nc=2\n[a]\ne=1", "S a{b{c{d='1'}} e='1'}"},
        {"[s]\n=v\n[]\n=w", "S s{X='v'} X{X='w'}"},
        {"[s]\nx=1\n[a/9]\ny=2\n;dropped too\n[s]\nz=3", "S s{x='1' z='3'} a{}"},
        {"\r[s]\ra=1\r\n\r\nb=2\n\rc=3", "S s{a='1' b='2' c='3'}"},
        {"[s]\n9 \xFF=1\na=\xFF\x80", "S s{X__='1' a='\xFF\x80'}"},
        {"[s" + nul + "]\n[t]\na" + nul + "=1\nb=1" + nul + "2\n", "S t{b='1'}"},
        // A mark makes the stream a Unicode one, of which the reader sees nothing.
        {"\xEF\xBB\xBF[s]\na=1\n", "S "},
        {"\xFE\xFF!NWREG 1.0 {\na=1\n", "S "},
        {"[" + longName + "]\n" + longName + "=1", "S " + name64 + "{" + name64 + "='1'}"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(readText(text), expected) << text;
    }
    EXPECT_EQ(readText("[s]\r\na=1\r\n", 0), "S s{a='1\r'}") << "no line-end translation";
    EXPECT_EQ(readText("\xEF\xBB\xBF!NWREG 1.0 {\n[s]\na=1\n", CStream::cNoHeader), "S s{a='1'}");
}

// Gives at most `most` bytes at once.
struct SlowStream : MemoryStream {
    SlowStream(unsigned flags, const std::string& text, unsigned long n)
        : MemoryStream(flags, text), most(n) {}
    bool InternalRead(unsigned long count, void* buffer, unsigned long* done) override {
        return MemoryStream::InternalRead(std::min(count, most), buffer, done);
    }
    const unsigned long most;
};

// A stream that counts lines is read by character. Blocks of any size give the same tree and
// report, and leave the stream at the same place.
TEST(RegParser, BlocksGiveWhatCharactersGive) {
    std::mt19937 random(9);
    const std::string pieces[] = {"\r",
                                  "\r\n",
                                  "\n",
                                  "a",
                                  "b/c",
                                  "d{",
                                  "}",
                                  "=",
                                  ";",
                                  "[e]",
                                  " ",
                                  "\n f=",
                                  std::string("\0", 1),
                                  "\xFF",
                                  std::string(63, 'n'),
                                  "9"};
    const auto outcome = [](unsigned flags, const std::string& text, unsigned long most) {
        SlowStream stream(flags, text, most);
        CMemRegistry root;
        RegReadReport report;
        CString rest;
        stream.SetPos(text.size() % 2);
        const RStatus status = root.ReadFromStream(stream, report);
        std::ostringstream out;
        out << status << " " << report.position.line << ":" << report.position.column << " "
            << Dump(root) << " " << stream.Pos() << " " << stream.AtEOF();
        stream.ReadToDelim(rest, 'f', -1, nullptr);
        return out.str() + rest.CStr();
    };
    for (int round = 0; round < 5'000; ++round) {
        std::string text = round % 3 == 0 ? "" : "x!NWREG 1.0 {\n";
        for (std::size_t i = random() % 30; i > 0; --i) {
            text += pieces[random() % std::size(pieces)];
        }
        text.erase(0, round % 3 == 1 ? (text.size() + 1) % 2 : 0);
        const unsigned flags = round % 4 == 0 ? 0U : CStream::cTranslate;
        ASSERT_EQ(outcome(flags, text, random() % 2 == 0 ? 1 + random() % 20 : 70'000),
                  outcome(flags | CStream::cCountLines, text, 1))
            << testing::PrintToString(text);
    }
}

// Whatever a text is cut at, and from blocks of any size, reading keeps what came before.
TEST(RegParser, EveryTruncation) {
    const Cases texts = {
        {"!NWREG 1.0 {\n;c\na = 1\nd {\n\tx=2\n\te{ y=3\n}\n}\nz=4\n}\n",
         ";'c' a=' 1' d{x='2' e{y='3'}} z='4'"},
        {";c\n[ d ]\nx=2\n[d/e]\n y = 3\r\n[z]\nq=4\n", ";'c' d{x='2' e{y=' 3'}} z{q='4'}"},
    };
    for (const auto& [text, whole] : texts) {
        std::string previous;
        for (std::size_t length = 0; length <= text.size(); ++length) {
            SlowStream stream(CStream::cTranslate, text.substr(0, length), 1 + length % 5);
            CMemRegistry root;
            const RStatus status = root.ReadFromStream(stream);
            EXPECT_TRUE(status == Ok || (status == ErrSyntax && text[0] == '!' && length > 12));
            if (status == Ok && text.substr(0, length).ends_with('\n')) {
                EXPECT_GE(Dump(root).size(), previous.size()) << "entries were lost: " << length;
                previous = Dump(root);
            }
        }
        EXPECT_EQ(previous, whole);
    }
}

TEST(RegParser, StreamFailuresEndReading) {
    const std::string current = "!NWREG 1.0 {\na=1\nb=2\n", sectioned = "[s]\na=1\nb=2\n";
    const std::size_t never = std::string::npos;
    const std::tuple<std::string, std::size_t, unsigned, bool, RStatus, const char*> cases[] = {
        {current, 18UL, CStream::cThrowOnError, true, ErrAccessDenied, "a='1'"},
        {sectioned, 10UL, 0U, true, Ok, "s{a='1' b=''}"},
        {sectioned, never, 0U, false, Ok, ""},
        {current, never, 0U, false, Ok, "a='1' b='2'"}};
    for (const auto& [text, failAt, flags, seekable, expected, dump] : cases) {
        SlowStream stream(flags | CStream::cTranslate, text, 1);
        stream.failAt = failAt;
        stream.seekable = seekable;
        CMemRegistry root;
        EXPECT_EQ(root.ReadFromStream(stream), expected) << text << failAt;
        EXPECT_EQ(Dump(root), dump) << text << failAt;
    }
}

}  // namespace
}  // namespace Tova
