#include "registry/RegParser.h"
#include "tests/registry/RegistryTesting.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Tova {
namespace {

using tvtest::Dump;
using tvtest::TextStream;

// The text without its last line end, as one line: status, place of the fault, tree.
std::string readText(const std::string& text, unsigned flags = CStream::cTranslate) {
    TextStream stream(text, flags);
    CMemRegistry root;
    RegReadReport report;
    const RStatus status = root.ReadFromStream(stream, report);
    std::ostringstream out;
    if (status != Ok) {
        out << (status == ErrSyntax ? "syntax" : status == Failure ? "failure" : "other");
        if (report.problem != nullptr) {
            out << "@" << report.position.line << ":" << report.position.column;
        }
        out << " ";
    }
    out << (report.format == RegFormat::Current ? "C " : "S ") << Dump(root);
    return out.str();
}

struct Case {
    std::string text;
    std::string expected;
};

TEST(RegParser, CurrentFormat) {
    const std::string name63(63, 'n'), nul("\0", 1);
    const Case cases[] = {
        {"a = 1\n}", "C a=' 1'"},
        {"a=1 }\nb=2", "C a='1 }' b='2'"},
        {"d {\nx=2\n}\n}\nnever=read", "C d{x='2'}"},
        {"d{e{f{x=1", "C d{e{f{x='1'}}}"},
        {"; c\r\nd\t{;d\n}x=\ny= ;{}\\ \t\n", "C ;' c' d{;'d'} x='' y=' ;{}\\ \t'"},
        {"a\n\n=1\nb \n {\n}", "C a='1' b{}"},
        {"a/b=1\na/c{d=2\n}", "C a{b='1' c{d='2'}}"},
        {"a=1\nb=2\na=3\nd{x=1\n}d{y=2\n}", "C a='3' b='2' d{x='1' y='2'}"},
        {name63 + "=1", "C " + name63 + "='1'"},
        {"a=1\nb;c", "syntax@3:2 C a='1'"},
        {"a }", "syntax@2:3 C "},
        {"ab", "syntax@2:3 C "},
        {"d{x=1\n  =2", "syntax@3:3 C d{x='1'}"},
        {"{", "syntax@2:1 C "},
        {"a\r=1", "C a='1'"},
        {"a=1\n 9=2", "syntax@3:2 C a='1'"},
        {"d{x=1\n}d=2", "failure@3:2 C d{x='1'}"},
        {"d=1\nd{x=1\n}", "failure@3:1 C d='1'"},
        {"a/9=1", "failure@2:1 C a{}"},
        {"a=1\n\n " + name63 + "n=1", "syntax@4:65 C a='1'"},
        {"a=1\n" + nul, "syntax@3:1 C a='1'"},
        {"d{x=1\n\xFFy=2\n}z=3\n\xFFgone=1", "C d{x='1'} y='2'"},
        // A stream keeps neither of these two for the next read.
        {"a\xFF=1\nb" + nul + "=2", "C a='1' b='2'"},
        {"a\xFF;", "syntax@2:3 C "},
        {"a=1" + nul + "2\n;c\xFF\n", "C a='1' ;'c\xFF'"},
        {"\xE9=1", "syntax@2:1 C "},
        {"n\xE9\x80=\xE9", "C n\xE9\x80='\xE9'"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(readText("!NWREG 1.0 {ignored } =\n" + c.text), c.expected) << c.text;
    }
    EXPECT_EQ(readText("!NWREG 1.0 {\r\na\r=1\r\n\r\n", 0), "syntax@3:1 C a\r='1\r'")
        << "no line-end translation";
    EXPECT_EQ(readText("!NWREG 1.0 {"), "C ");
    EXPECT_EQ(readText("!NWREG 1.0 {\r\rd{\rx=1\r}"), "C d{x='1'}");
}

TEST(RegParser, SectionedFormat) {
    const std::string name64(64, 'n'), longName = name64 + "tail", nul("\0", 1);
    const Case cases[] = {
        {"", "S "},
        {"[ My Sec ]\nkey name = v", "S My_Sec{key_name=' v'}"},
        {"x=1\n;before\n[s]\n;in\n \t x=1;2\n[t", "S ;'before' s{;'in' x='1;2'}"},
        {" !NWREG 1.0 {\na=1\n", "S "},
        {"!NWREG 1.0\n[s]x\na=1\n[abc\nb=2\nplain\n\n", "S s{a='1' b='2'}"},
        {"[a/b]\nc/d=1\nc=2\n[a]\ne=1", "S a{b{c{d='1'}} e='1'}"},
        {"[s]\n=v\n[]\n=w", "S s{X='v'} X{X='w'}"},
        {"[s]\nx=1\n[a/9]\ny=2\n;dropped too\n[s]\nz=3", "S s{x='1' z='3'} a{}"},
        {"[s]\na/x=1\n[s/a/x]\ny=2", "S s{a{x='1'}}"},
        {"\r[s]\ra=1\r\n\r\nb=2\n\rc=3", "S s{a='1' b='2' c='3'}"},
        {"[s]\n9 \xFF=1\na=\xFF\x80", "S s{X__='1' a='\xFF\x80'}"},
        {"[s" + nul + "]\n[t]\na" + nul + "=1\nb=1" + nul + "2\n", "S t{b='1'}"},
        {"[s]]\na==b]\n[t]=u\n", "S s{a='=b]'} t{}"},
        {"[" + longName + "]\n" + longName + "=1", "S " + name64 + "{" + name64 + "='1'}"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(readText(c.text), c.expected) << c.text;
    }
    EXPECT_EQ(readText("[s]\r\na=1\r\n", 0), "S s{a='1\r'}") << "no line-end translation";
}

// A mark makes the stream a Unicode one, of which the reader sees nothing.
TEST(RegParser, ByteOrderMarks) {
    using namespace std::string_literals;
    for (const std::string& mark : {"\xEF\xBB\xBF"s, "\xFF\xFE"s, "\xFE\xFF"s}) {
        EXPECT_EQ(readText(mark + "[s]\na=1\n"), "S ");
        EXPECT_EQ(readText(mark + "!NWREG 1.0 {\na=1\n"), "S ");
    }
    EXPECT_EQ(
        readText("\xEF\xBB\xBF!NWREG 1.0 {\n[s]\na=1\n", CStream::cTranslate | CStream::cNoHeader),
        "S s{a='1'}");
}

// Whatever a text is cut at, and whatever byte stands where, reading ends with what came before.
TEST(RegParser, EveryTruncationAndEveryDamage) {
    const Case texts[] = {
        {"!NWREG 1.0 {\n;c\na = 1\nd {\n\tx=2\n\te{ y=3\n}\n}\nz=4\n}\n",
         ";'c' a=' 1' d{x='2' e{y='3'}} z='4'"},
        {";c\n[ d ]\nx=2\n[d/e]\n y = 3\r\n[z]\nq=4\n", ";'c' d{x='2' e{y=' 3'}} z{q='4'}"},
    };
    for (const auto& [text, whole] : texts) {
        const bool current = text[0] == '!';
        std::string previous;
        for (std::size_t length = 0; length <= text.size(); ++length) {
            const std::string cut = text.substr(0, length);
            TextStream stream(cut);
            CMemRegistry root;
            const RStatus status = root.ReadFromStream(stream);
            const bool inName = current && length > 12 && status == ErrSyntax;
            EXPECT_TRUE(status == Ok || inName) << cut;
            if (status == Ok && length > 0 && text[length - 1] == '\n') {
                EXPECT_GE(Dump(root).size(), previous.size()) << "entries were lost: " << cut;
                previous = Dump(root);
            }
            for (const char damage : {'\0', '\xFF', '\r', '{', '='}) {
                std::string damaged = text;
                damaged.insert(length, 1, damage);
                TextStream bad(damaged);
                CMemRegistry other;
                const RStatus result = other.ReadFromStream(bad);
                EXPECT_TRUE(result == Ok ||
                            (current && (result == ErrSyntax || result == Failure)));
            }
        }
        EXPECT_EQ(previous, whole);
    }
}

TEST(RegParser, StreamFailuresEndReading) {
    const std::string current = "!NWREG 1.0 {\na=1\nb=2\n", sectioned = "[s]\na=1\nb=2\n";
    struct {
        const std::string& text;
        std::size_t failAt;
        unsigned flags;
        bool seekable;
        RStatus status;
        const char* dump;
    } cases[] = {
        {current, 18, CStream::cThrowOnError, true, ErrAccessDenied, "a='1'"},
        {current, 18, 0, true, ErrSyntax, "a='1'"},
        {sectioned, 10, CStream::cThrowOnError, true, ErrAccessDenied, "s{a='1'}"},
        {sectioned, 10, 0, true, Ok, "s{a='1' b=''}"},
        {sectioned, 0, 0, true, Ok, ""},
        {sectioned, std::string::npos, CStream::cThrowAtEnd, true, ErrEndOfStream,
         "s{a='1' b='2'}"},
        {sectioned, std::string::npos, 0, false, Ok, ""},
        {current, std::string::npos, 0, false, Ok, "a='1' b='2'"},
    };
    for (const auto& c : cases) {
        for (const bool indicates : {true, false}) {
            TextStream stream(c.text, c.flags | CStream::cTranslate);
            stream.failAt = c.failAt;
            stream.seekable = c.seekable;
            stream.indicatesEnd = indicates;
            CMemRegistry root;
            const bool endThrows = indicates || c.status != ErrEndOfStream;
            EXPECT_EQ(root.ReadFromStream(stream), endThrows ? c.status : Ok) << c.text << c.failAt;
            EXPECT_EQ(Dump(root), c.dump) << c.text << c.failAt;
        }
    }
}

TEST(RegParser, DeepAndWideTexts) {
    std::string deep = "!NWREG 1.0 {\n", wide = deep, sections;
    for (int i = 0; i < 100'000; ++i) {
        deep += "d{";
        wide += "n" + std::to_string(i) + "=" + std::to_string(i) + "\n";
        sections += "[n" + std::to_string(i) + "]\nv=" + std::to_string(i) + "\n";
    }
    CMemRegistry root;
    TextStream a(deep), b(wide), c(sections);
    CRegDir values, dirs;
    EXPECT_EQ(root.ReadFromStream(a), Ok);
    ASSERT_TRUE(root.CreateDir("values", values) && root.CreateDir("dirs", dirs));
    EXPECT_EQ(values.ReadFromStream(b), Ok);
    EXPECT_EQ(dirs.ReadFromStream(c), Ok);
    EXPECT_STREQ(values.GetValue("n99999"), "99999");
    EXPECT_STREQ(dirs.GetValue("n99998/v"), "99998");
    EXPECT_STREQ(root.GetValue("di/n1/v"), "1");
    EXPECT_TRUE(dirs.Delete("n1/v"));
    EXPECT_EQ(dirs.GetValue("n1/v"), nullptr) << "n1, emptied, still comes before n10";
}

}  // namespace
}  // namespace Tova
