#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <tuple>

namespace tvtest {
namespace {

using testing::HasSubstr;
using Texts = std::vector<std::string>;

class ApplyCommandTest : public ToolTest {
protected:
    // With each of `settings` after a --set.
    ToolResult Apply(Texts arguments, const Texts& settings) {
        arguments.insert(arguments.begin(), "apply");
        for (const std::string& setting : settings) {
            arguments.insert(arguments.end(), {"--set", setting});
        }
        return Run(arguments);
    }
};

TEST_F(ApplyCommandTest, KnowsTheApplicationVariablesAndOverridesThem) {
    constexpr char cAll[] = "<AppName> <MajVersion>.<MinVersion> <ShortAppKey> <AppKey> <Other>";
    EXPECT_EQ(Run({"apply"}, cAll), Prints("Calyx 7.4 CX CX7 <Other>"));
    EXPECT_EQ(Run({"apply", cAll}), Prints("Calyx 7.4 CX CX7 <Other>\n"));
    Write("t.txt", "<AppName>\r\n\tand no more");
    EXPECT_EQ(Run({"apply", "t.txt"}), Prints("Calyx\r\n\tand no more"));
    EXPECT_EQ(Run({"apply", "-"}, ""), Prints(""));

    Run({"config", "create", "a.nwc", "AppName=A", "%X=a", "Y=<X>", "MajVersion=9"});
    Run({"config", "create", "b.nwc", "AppName=B", "X=b"});
    constexpr char cText[] = "<AppName> <MajVersion> <X> <Y>";
    EXPECT_EQ(Run({"apply", cText, "--config", "a.nwc", "--config", "b.nwc"}), Prints("B 7 a a\n"));
    ToolResult kept = Prints("<=> 7 a a\n");
    kept.err = "tvtool: --set \"MajVersion=9\": the variable is fixed and kept its value\n";
    EXPECT_EQ(Apply({cText, "--config", "a.nwc"}, {"AppName=<=>", "=x", "MajVersion=9"}), kept);
    EXPECT_EQ(Run({"apply", cText, "--config", "t.txt"}).status, 4);
}

TEST_F(ApplyCommandTest, SubstitutesWithAnyDelimiters) {
    for (const auto& [delimiters, text, result, settings] :
         std::vector<std::tuple<const char*, const char*, const char*, Texts>>{
             {"{}", "{A} <A>", "1 <A>", {"A=1"}},
             {"\xC2\xAB\xC2\xBB", "\xC2\xAB\x41\xC2\xBB!", "1!", {"A=1"}},
             {"%%", "%A% %B% 5%", "x 2 5%", {"A=%C%", "B=2", "C=x"}},
             {"<>", "<<B>>", "2", {"A=2", "B=A"}},
             {"<>", "<x<y> <>", "1 2", {"x<y=1", "=2"}},
             // Circles that the text does not lead into, and the end of what feeds them.
             {"<>", "<B> <A", "2 <A", {"A=<A>", "B=2"}},
             {"<>", "<A<A<A>", ">", {"A=>"}},
             {"<>", "<Q><P>", ">", {"P=>", "Q=<P<P<P"}}}) {
        Write("t", text);
        EXPECT_EQ(Apply({"t", "--delimiters", delimiters}, settings), Prints(result)) << text;
    }
}

TEST_F(ApplyCommandTest, RefusesCirclesAndNamesThem) {
    for (const auto& [delimiters, text, circle, settings] :
         std::vector<std::tuple<const char*, const char*, const char*, Texts>>{
             {"<>", "<X>", "\"A\" -> \"B\" -> \"A\"", {"A=a<B>b", "B=<C><A>", "C=", "X=<A>"}},
             {"<>", "<A>", "\"A\" -> \"A\"", {"A=<A><A>"}},
             // Put together from pieces.
             {"<>", "<A>>", "\"B\" -> \"B\"", {"A=<B", "B=<A>>"}},
             {"<>", "<B>A>", "\"A\" -> \"A\"", {"A=<B>A>", "B=<"}},
             {"%%", "%A%", "\"A\" -> \"B\" -> \"A\"", {"A=%B%", "B=%A%"}},
             {"<>", "<x<y>", "\"x<y\" -> \"x<y\"", {"x<y=<x<y>"}},
             // Grows to the bound before it is deep.
             {"<>", "<A>", "\"A\" -> \"A\"", {"A=" + std::string(100000, 'x') + "<A><A>", "B="}}}) {
        EXPECT_EQ(
            Apply({text, "--delimiters", delimiters}, settings),
            Refuses(4, std::string("TEXT: values refer to each other in a circle: ") + circle))
            << text;
    }
}

TEST_F(ApplyCommandTest, RefusesWhatGrowsBeyondMeasure) {
    Texts full = {"v0=" + std::string(64, 'x')}, empty = {"v0="};
    for (int i = 1; i <= 40; ++i) {
        const std::string before = "<v" + std::to_string(i - 1) + ">";
        full.push_back("v" + std::to_string(i) + "=" + before + before);
        empty.push_back(full.back());
    }
    EXPECT_EQ(Apply({"<v40>"}, full),
              Refuses(1, "TEXT: the result is longer than 16777216 characters"));
    EXPECT_EQ(Apply({"<v40>"}, empty), Refuses(1, "TEXT: takes more than 1000005 replacements"));
    EXPECT_EQ(Apply({"<v3>"}, full), Prints(std::string(512, 'x') + "\n"));
}

TEST_F(ApplyCommandTest, ListsPlaceholders) {
    Write("t.txt",
          "\xC3\xA9\xF0\x9F\x98\x80<AppName>\n a < b > <B\\> <x y> <AppName> <\n><> <c<d>\n");
    EXPECT_EQ(Run({"apply", "t.txt", "--list"}), Prints("AppName\nB\\\\\nx y\nd\n"));
    const ToolResult json = Run({"apply", "t.txt", "--list", "--json", "--set", "d="});
    EXPECT_THAT(json.out, testing::StartsWith("[\n  {\n    \"name\": \"AppName\",\n"
                                              "    \"defined\": true,\n    \"line\": 1,\n"
                                              "    \"column\": 3\n  },"));
    EXPECT_THAT(json.out, HasSubstr("\"name\": \"d\",\n    \"defined\": true,\n    \"line\": 3,\n"
                                    "    \"column\": 7\n"));
}

TEST_F(ApplyCommandTest, StrictSaysWhatNobodyDefines) {
    Write("t.txt", "<AppName>\n\xC3\xA9<Foo> <X>, if a < b and c > d\n");
    const ToolResult all =
        Refuses(1, "t.txt:2:2: nobody defines \"Foo\"\ntvtool: t.txt:2:8: nobody defines \"Bar\", "
                   "which comes from \"X\" -> \"Y\"");
    EXPECT_EQ(Apply({"t.txt", "--strict"}, {"X=<Y>", "Y=.<Bar>."}), all);
    EXPECT_EQ(Apply({"t.txt", "--strict"}, {"X=", "Foo=1"}),
              Prints("Calyx\n\xC3\xA9\x31 , if a < b and c > d\n"));
    // In passes: equal delimiters, with the place kept through a value.
    EXPECT_EQ(Apply({"100% of %AppName%, %X%", "--strict", "--delimiters", "%%"}, {"X=a %Foo%"}),
              Refuses(1, "TEXT:1:20: nobody defines \"Foo\", which comes from \"X\""));
}

TEST_F(ApplyCommandTest, RefusesTextsOutsideTheEncoding) {
    EXPECT_EQ(Run({"apply"}, "ok\n\xC3\xA9\xFF"),
              Refuses(4, "standard input:2:2: is not valid in the system encoding; "
                         "TV_SYSTEM_ENCODING names another"));
    const ScopedEnv encoding("TV_SYSTEM_ENCODING", "ISO-8859-1");
    EXPECT_EQ(Run({"apply", "-", "--set", "A=\xFF"}, "\xE9<A>"), Prints("\xE9\xFF"));
}

}  // namespace
}  // namespace tvtest
