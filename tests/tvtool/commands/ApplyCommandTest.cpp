#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

namespace tvtest {
namespace {

class ApplyCommandTest : public ToolTest {};

TEST_F(ApplyCommandTest, KnowsTheApplicationVariablesAndOverridesThem) {
    Write("t.txt", "<AppName> <MajVersion>.<MinVersion>\r\n\t<ShortAppKey> <AppKey> <Other>");
    EXPECT_EQ(Script("apply t.txt; apply - <t.txt; apply '<AppName>'; apply"),
              "Calyx 7.4\r\n\tCX CX7 <Other>Calyx 7.4\r\n\tCX CX7 <Other>Calyx\n");
    Script("config create a.nwc AppName=A %X=a 'Y=<X>' MajVersion=9\n"
           "config create b.nwc AppName=B X=b");
    const std::string text = "'<AppName> <MajVersion> <X> <Y>' --config a.nwc --config b.nwc";
    EXPECT_EQ(Script("apply " + text + " --set 'AppName=<=>' --set =x --set MajVersion=9"),
              "tvtool: --set: \"MajVersion\" is fixed and kept its value\n<=> 7 a a\n[1]\n");
    EXPECT_THAT(Script("apply t.txt --config t.txt"), testing::EndsWith("\n[4]\n"));
}

TEST_F(ApplyCommandTest, SubstitutesWithAnyDelimitersAndNamesCircles) {
    const auto circle = [](const std::string& names) {
        return Fails(4, "TEXT: values refer to each other in a circle: " + names);
    };
    const std::pair<std::string, std::string> cases[] = {
        {"'{A} <A>' --delimiters {} --set A=1", "1 <A>\n"},
        {"\xC2\xAB\x41\xC2\xBB! --delimiters \xC2\xAB\xC2\xBB --set A=1", "1!\n"},
        // Circles that the text does not lead into, and the end of what feeds them.
        {"'<B> <A' --set 'A=<A>' --set B=2", "2 <A\n"},
        {"'<Q><P>' --set 'P=>' --set 'Q=<P<P<P'", ">\n"},
        {"'<X>' --set 'A=a<B>b' --set 'B=<C><A>' --set C= --set 'X=<A>'",
         circle("\"A\" -> \"B\" -> \"A\"")},
        {"'<x<y>' --set 'x<y=<x<y>'", circle("\"x<y\" -> \"x<y\"")},
        // Put together from pieces.
        {"'<A>>' --set 'A=<B' --set 'B=<A>>'", circle("\"B\" -> \"B\"")},
        // Grows to the bound before it is deep.
        {"'<A>' --set 'A=" + std::string(100000, 'x') + "<A><A>'", circle("\"A\" -> \"A\"")},
    };
    for (const auto& [arguments, expected] : cases) {
        EXPECT_EQ(Script("apply " + arguments), expected) << arguments;
    }
}

TEST_F(ApplyCommandTest, RefusesWhatGrowsBeyondMeasure) {
    std::string doubled = " --set v0=";
    for (int i = 1; i <= 40; ++i) {
        const std::string before = "<v" + std::to_string(i - 1) + ">";
        doubled += " --set 'v" + std::to_string(i) + "=" + before + before + "'";
    }
    std::string full = doubled;
    full.insert(std::string(" --set v0=").size(), 64, 'x');
    EXPECT_EQ(Script("apply '<v40>'" + full),
              Fails(1, "TEXT: the result is longer than 16777216 characters"));
    EXPECT_EQ(Script("apply '<v40>'" + doubled),
              Fails(1, "TEXT: takes more than 1000005 replacements"));
}

TEST_F(ApplyCommandTest, ListsPlaceholders) {
    Write("t.txt",
          "\xC3\xA9\xF0\x9F\x98\x80<AppName>\n a < b > <B\\> <x y> <AppName> <\n><> <c<d>");
    EXPECT_EQ(Script("apply t.txt --list --json --set d= | tr -d ' \\n'"),
              R"([{"name":"AppName","defined":true,"line":1,"column":3},)"
              R"({"name":"B\\","defined":false,"line":2,"column":10},)"
              R"({"name":"xy","defined":false,"line":2,"column":15},)"
              R"({"name":"d","defined":true,"line":3,"column":7}])");
}

TEST_F(ApplyCommandTest, StrictSaysWhatNobodyDefines) {
    Write("t.txt", "<AppName>\n\xC3\xA9<Foo> <X>, if a < b and c > d\n");
    EXPECT_EQ(Script("apply t.txt --strict --set 'X=<Y>' --set 'Y=.<Bar>.'"),
              Fails(1, "t.txt:2:2: nobody defines \"Foo\"\ntvtool: t.txt:2:8: nobody defines "
                       "\"Bar\", which comes from \"X\" -> \"Y\""));
    EXPECT_EQ(Script("apply t.txt --strict --set X= --set Foo=1"),
              "Calyx\n\xC3\xA9\x31 , if a < b and c > d\n");
    // In passes: equal delimiters, with the place kept through a value.
    EXPECT_EQ(Script("apply '100% of %AppName%, %X%' --strict --delimiters %% --set 'X=a %Foo%'"),
              Fails(1, "TEXT:1:20: nobody defines \"Foo\", which comes from \"X\""));
}

TEST_F(ApplyCommandTest, RefusesTextsOutsideTheEncoding) {
    EXPECT_EQ(Script("apply", "ok\n\xC3\xA9\xFF"),
              Fails(4, "standard input:2:2: is not valid in the system encoding; "
                       "TV_SYSTEM_ENCODING names another"));
    const ScopedEnv encoding("TV_SYSTEM_ENCODING", "ISO-8859-1");
    EXPECT_EQ(Script("apply - --set A=\xC3\xBF", "\xE9<A>"), "\xE9\xFF");
}

}  // namespace
}  // namespace tvtest
