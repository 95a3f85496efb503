#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

namespace tvtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr char cShared[] = "machine/Nimbus Works/Nimbus Works Registry";
constexpr char cCurrent[] =
    "!NWREG 1.0 {\n; two\nCalyx {\nURL= \\x\nPaths{T=\xFF\n}\n}\nOther{}\n}\n";
constexpr char cSectioned[] = "; two\r\n[Calyx]\r\nURL= \\x\r\n[Calyx/Paths]\nT=\xFF\n[Other]\n";
constexpr char cTree[] =
    "; two\nCalyx {\n  URL= \\\\x\n  Paths {\n    T=\\xFF\n  }\n}\nOther {\n}\n";

class RegistryCommandTest : public ToolTest {};

TEST_F(RegistryCommandTest, ShowsBothFormatsAlike) {
    for (const bool current : {true, false}) {
        const std::string format = current ? "current" : "sectioned";
        const std::string text = current ? cCurrent : cSectioned;
        Write("r", text);
        EXPECT_EQ(Run({"registry", "show", "r"}), Prints(cTree));
        EXPECT_EQ(Run({"registry", "show", "-"}, text), Prints(cTree));
        EXPECT_EQ(Run({"registry", "show", "r", "Cal/Paths"}), Prints("T=\\xFF\n"));
        EXPECT_EQ(Run({"registry", "show", "r", "Calyx/URL"}), Prints("URL= \\\\x\n"));
        EXPECT_EQ(Run({"registry", "show", "r", "--json"}),
                  Prints("{\n  \"format\": \"" + format +
                         "\",\n  \"entries\": [\n"
                         "    {\"comment\": \" two\"},\n"
                         "    {\"name\": \"Calyx\", \"entries\": [\n"
                         "      {\"name\": \"URL\", \"value\": \" \\\\x\"},\n"
                         "      {\"name\": \"Paths\", \"entries\": [\n"
                         "        {\"name\": \"T\", \"value\": {\"base64\":\"/w==\"}}\n"
                         "      ]}\n    ]},\n"
                         "    {\"name\": \"Other\", \"entries\": []}\n  ]\n}\n"));
        EXPECT_EQ(Run({"registry", "get", "r", "Calyx/Paths/T"}), Prints("\xFF\n"));
        EXPECT_EQ(Run({"registry", "verify", "r"}),
                  Prints("r: " + format + " format, directories 3, values 2, comments 1\n"));
    }
    EXPECT_EQ(Run({"registry", "show", "r", "Calyx/No"}),
              Refuses(3, "r: holds nothing at \"Calyx/No\""));
    EXPECT_EQ(Run({"registry", "get", "r", "Calyx"}),
              Refuses(3, "r: \"Calyx\" is a directory and has no value; use registry show"));
    EXPECT_EQ(Run({"registry", "verify", "none"}).status, 3);
    EXPECT_EQ(Run({"registry", "show", "."}).status, 4);
}

TEST_F(RegistryCommandTest, PointsAtFaults) {
    const struct {
        std::string text, message, tree;
    } cases[] = {
        {"a=1\n\td {\n\t\xC3\xA9\tx=2\n}",
         "r:4:2: this character cannot stand here; what follows is not read\n"
         "    \\t\xC3\xA9\\tx=2\n      ^\n",
         "a=1\nd {\n}\n"},
        {"a=1\r\nd=1\rd {",
         "r:4:1: this name is taken by an entry of the other kind, or is not valid; "
         "what follows is not read\n    d {\n    ^\n",
         "a=1\nd=1\n"},
        {"a=1\n" + std::string(100, ' ') + "b;" + std::string(40, 'c'),
         "r:3:102: \"=\" or \"{\" is expected after a name; what follows is not read\n    ..." +
             std::string(49, ' ') + "b;" + std::string(19, 'c') + "...\n" + std::string(57, ' ') +
             "^\n",
         "a=1\n"},
        {"a=1\nb\xC3\xA9",
         "r:3:3: \"=\" or \"{\" is expected after a name; what follows is not read\n"
         "    b\xC3\xA9\n      ^\n",
         "a=1\n"},
    };
    for (const auto& c : cases) {
        Write("r", "!NWREG 1.0 {\n" + c.text);
        const ToolResult shown = {4, c.tree, "tvtool: " + c.message};
        EXPECT_EQ(Run({"registry", "show", "r"}), shown);
        const ToolResult verified = Run({"registry", "verify", "r"});
        EXPECT_EQ(verified.err, shown.err);
        EXPECT_EQ(verified.status, 4);
        EXPECT_THAT(verified.out, HasSubstr("before the fault"));
    }
    EXPECT_EQ(Run({"registry", "get", "r", "a"}).out, "1\n") << "found before the fault";
    EXPECT_EQ(Run({"registry", "get", "r", "z"}).status, 4) << "might stand behind it";
    Write("r", "\xEF\xBB\xBF!NWREG 1.0 {\na=1\n}\n");
    EXPECT_EQ(Run({"registry", "verify", "r"}).status, 4);
    EXPECT_THAT(Run({"registry", "show", "r"}).err, HasSubstr("byte-order mark"));
}

TEST_F(RegistryCommandTest, AnswersAsTheFramework) {
    EXPECT_EQ(Run({"registry", "app", "Calyx"}).status, 3);
    Write(cShared, cCurrent);
    const std::string from = "; " + Path(cShared) + "\n";
    EXPECT_EQ(Run({"registry", "app", "Calyx", "URL"}), Prints(from + "URL= \\\\x\n"));
    EXPECT_EQ(Run({"registry", "app", "Cal/Paths"}), Prints(from + "T=\\xFF\n"));
    EXPECT_THAT(Run({"registry", "app", "Calyx", "--json"}).out,
                HasSubstr("\"application\": \"Calyx\""));
    EXPECT_EQ(Run({"registry", "show"}), Prints(cTree));
    EXPECT_EQ(Run({"registry", "show", "--shared", "Calyx/Paths"}), Prints("T=\\xFF\n"));
    EXPECT_EQ(Run({"registry", "get", "Calyx/URL"}), Prints(" \\x\n"));
    EXPECT_EQ(Run({"registry", "app", "Cal"}),
              Refuses(3, Path(cShared) + ": has no directory for the application \"Cal\""));
    EXPECT_EQ(Run({"registry", "app", "Calyx", "Paths"}),
              Refuses(3, Path(cShared) + ": has no value \"Paths\" for the application \"Calyx\""));
    EXPECT_EQ(Read(cShared), cCurrent);
    Write(cShared, "!NWREG 1.0 {\nCalyx{URL=1\n9");
    const ToolResult damaged = Run({"registry", "app", "Calyx"});
    EXPECT_EQ(damaged.out, from + "URL=1\n");
    EXPECT_EQ(damaged.status, 4);
    EXPECT_THAT(damaged.err, StartsWith("tvtool: " + Path(cShared) + ":3:1: "));
}

// Neither the stack nor the output may grow out of proportion.
TEST_F(RegistryCommandTest, ShowsDeepTrees) {
    std::string text = "!NWREG 1.0 {\n";
    for (int i = 0; i < 50'000; ++i) {
        text += "d{";
    }
    Write("r", text);
    for (const char* format : {"--json", "--"}) {
        const ToolResult shown = Run({"registry", "show", "r", format});
        EXPECT_EQ(shown.status, 0);
        EXPECT_GT(shown.out.size(), 50'000U);
        EXPECT_LT(shown.out.size(), 50'000U * 150);
    }
}

}  // namespace
}  // namespace tvtest
