#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

namespace tvtest {
namespace {

using testing::HasSubstr;

class ApplyCommandTest : public ToolTest {
protected:
    // With each of `settings` after a --set.
    ToolResult Apply(std::vector<std::string> arguments, const std::vector<std::string>& settings) {
        arguments.insert(arguments.begin(), "apply");
        for (const std::string& setting : settings) {
            arguments.insert(arguments.end(), {"--set", setting});
        }
        return Run(arguments);
    }
};

TEST_F(ApplyCommandTest, KnowsTheApplicationVariables) {
    constexpr char cText[] = "<AppName> <MajVersion>.<MinVersion> <ShortAppKey> <AppKey> <Other>";
    EXPECT_EQ(Run({"apply"}, cText), Prints("Calyx 7.4 CX CX7 <Other>"));
    EXPECT_EQ(Run({"apply", cText}), Prints("Calyx 7.4 CX CX7 <Other>\n"));
    Write("t.txt", "<AppName>\r\n\tand no more");
    EXPECT_EQ(Run({"apply", "t.txt"}), Prints("Calyx\r\n\tand no more"));
    EXPECT_EQ(Run({"apply", "-"}, ""), Prints(""));
}

TEST_F(ApplyCommandTest, LaterVariablesOverrideEarlierOnes) {
    Run({"config", "create", "a.nwc", "AppName=A", "%X=a", "Y=<X>", "MajVersion=9"});
    Run({"config", "create", "b.nwc", "AppName=B", "X=b"});
    constexpr char cText[] = "<AppName> <MajVersion> <X> <Y>";
    EXPECT_EQ(Run({"apply", cText, "--config", "a.nwc", "--config", "b.nwc"}), Prints("B 7 a a\n"));
    EXPECT_EQ(Run({"apply", cText, "--config", "a.nwc", "--set", "AppName=<=>", "--set", "=x"}),
              Prints("<=> 7 a a\n"));
    ToolResult kept = Prints("7\n");
    kept.err = "tvtool: --set \"MajVersion=9\": the variable is fixed and kept its value\n";
    EXPECT_EQ(Run({"apply", "<MajVersion>", "--set", "MajVersion=9"}), kept);
    Write("c.nwc", "damaged");
    EXPECT_EQ(Run({"apply", cText, "--config", "c.nwc"}).status, 4);
}

TEST_F(ApplyCommandTest, SubstitutesWithAnyDelimiters) {
    const struct {
        std::string delimiters, text, result;
        std::vector<std::string> settings;
    } cases[] = {
        {"{}", "{A} <A>", "1 <A>", {"A=1"}},
        {"\xC2\xAB\xC2\xBB",
         "\xC2\xAB"
         "A\xC2\xBB!",
         "1!",
         {"A=1"}},
        {"%%", "%A% %B% 5%", "x 2 5%", {"A=%C%", "B=2", "C=x"}},
        {"<>", "<A", "<A", {"A=1"}},
        {"<>", "<<B>>", "2", {"A=2", "B=A"}},
        {"<>", "<x<y> <>", "1 2", {"x<y=1", "=2"}},
        // Circles that the text does not lead into, and the end of what feeds them.
        {"<>", "<B> <A", "2 <A", {"A=<A>", "B=2"}},
        {"<>", "<A<A<A>", ">", {"A=>"}},
        {"<>", "<Q><P>", ">", {"P=>", "Q=<P<P<P"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        ToolResult expected = Prints(c.result);
        Write("t", c.text);
        EXPECT_EQ(Apply({"t", "--delimiters", c.delimiters}, c.settings), expected);
    }
}

TEST_F(ApplyCommandTest, RefusesCirclesAndNamesThem) {
    const struct {
        std::string delimiters, text, circle;
        std::vector<std::string> settings;
    } cases[] = {
        {"<>", "<A>", "\"A\" -> \"A\"", {"A=<A>"}},
        {"<>", "<X>", "\"A\" -> \"B\" -> \"A\"", {"A=a<B>b", "B=<C><A>", "C=", "X=<A>"}},
        {"<>", "<A>", "\"A\" -> \"A\"", {"A=<A><A>"}},
        // Put together from pieces.
        {"<>", "<A>>", "\"B\" -> \"B\"", {"A=<B", "B=<A>>"}},
        {"<>", "<B>A>", "\"A\" -> \"A\"", {"A=<B>A>", "B=<"}},
        {"%%", "%A%", "\"A\" -> \"B\" -> \"A\"", {"A=%B%", "B=%A%"}},
        {"<>", "<x<y>", "\"x<y\" -> \"x<y\"", {"x<y=<x<y>"}},
        {"<>", "<A>", "\"A\" -> \"A\"", {"A=" + std::string(100000, 'x') + "<A><A>", "B=", "C="}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text + " " + c.settings[0].substr(0, 20));
        EXPECT_EQ(Apply({c.text, "--delimiters", c.delimiters}, c.settings),
                  Refuses(4, "TEXT: values refer to each other in a circle: " + c.circle));
    }
}

TEST_F(ApplyCommandTest, RefusesWhatGrowsBeyondMeasure) {
    std::vector<std::string> full = {"v0=" + std::string(64, 'x')}, empty = {"v0="};
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
    EXPECT_EQ(Apply({"t.txt", "--strict"}, {"X=", "Foo=1"}), Prints("Calyx\n\xC3\xA9"
                                                                    "1 , if a < b and c > d\n"));
    EXPECT_EQ(Run({"apply", "--strict"}, "<Foo>"),
              Refuses(1, "standard input:1:1: nobody defines \"Foo\""));
    EXPECT_EQ(Run({"apply", "--strict", "--delimiters", "%%"}, "100% of %AppName%, %Foo%"),
              Refuses(1, "standard input:1:20: nobody defines \"Foo\""));
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
