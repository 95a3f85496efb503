#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <tuple>

namespace tvtest {
namespace {

using testing::HasSubstr;

constexpr char cShared[] = "machine/Nimbus Works/Nimbus Works Registry";
constexpr char cCurrent[] =
    "!NWREG 1.0 {\n; two\nCalyx {\nURL= \\x\nPaths{T=\xFF\n}\n}\nOther{}\n}\n";
constexpr char cTree[] =
    "; two\nCalyx {\n  URL= \\\\x\n  Paths {\n    T=\\xFF\n  }\n}\nOther {\n}\n";
constexpr char cEntries[] = R"(
  "entries": [
    {"comment": " two"},
    {"name": "Calyx", "entries": [
      {"name": "URL", "value": " \\x"},
      {"name": "Paths", "entries": [
        {"name": "T", "value": {"base64":"/w=="}}
      ]}
    ]},
    {"name": "Other", "entries": []}
  ]
}
)";

class RegistryCommandTest : public ToolTest {};

TEST_F(RegistryCommandTest, ShowsBothFormatsAlike) {
    for (const auto& [format, text] :
         {std::pair<std::string, const char*>("current", cCurrent),
          {"sectioned", "; two\r\n[Calyx]\r\nURL= \\x\r\n[Calyx/Paths]\nT=\xFF\n[Other]\n"}}) {
        Write("r", text);
        EXPECT_EQ(Script("registry show r; registry show - <r; registry get r Calyx/Paths/T\n"
                         "registry show r Cal/Paths; registry show r Calyx/URL\n"
                         "registry verify r; registry show r --json"),
                  cTree + std::string(cTree) + "\xFF\nT=\\xFF\nURL= \\\\x\nr: " + format +
                      " format, directories 3, values 2, comments 1\n{\n  \"format\": \"" + format +
                      "\"," + cEntries);
    }
    EXPECT_EQ(Script("registry show r Calyx/No; registry get r Calyx; registry verify none\n"
                     "registry show ."),
              "tvtool: r: holds nothing at \"Calyx/No\"\n[3]\n"
              "tvtool: r: \"Calyx\" is a directory and has no value; use registry show\n[3]\n"
              "tvtool: none: cannot be read: No such file or directory\n[3]\n"
              "tvtool: .: is a folder; name a file\n[4]\n");
}

TEST_F(RegistryCommandTest, PointsAtFaults) {
    const std::string pad(49, ' ');
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"a=1\n\td {\n\t\xC3\xA9\tx=2\n}", "a=1\nd {\n}\n",
         "r:4:2: this character cannot stand here; what follows is not read\n"
         "    \\t\xC3\xA9\\tx=2\n      ^\n"},
        {"a=1\r\nd=1\rd {", "a=1\nd=1\n",
         "r:4:1: this name is taken by an entry of the other kind, or is not valid; "
         "what follows is not read\n    d {\n    ^\n"},
        {"a=1\n" + std::string(100, ' ') + "b;" + std::string(40, 'c'), "a=1\n",
         "r:3:102: \"=\" or \"{\" is expected after a name; what follows is not read\n    ..." +
             pad + "b;" + std::string(19, 'c') + "...\n" + pad + "        ^\n"}};
    for (const auto& [text, tree, message] : cases) {
        Write("r", "!NWREG 1.0 {\n" + text);
        EXPECT_EQ(Script("registry show r 2>e; cat e"), tree + "[4]\ntvtool: " + message);
    }
    EXPECT_EQ(Script("exec 2>/dev/null; registry get r a; registry get r z; registry verify r"),
              "1\n[4]\n[4]\nr: current format, directories 0, values 1, comments 0, "
              "before the fault\n[4]\n");
    Write("r", "\xEF\xBB\xBF!NWREG 1.0 {\na=1\n}\n");
    EXPECT_THAT(Script("registry verify r; registry show r"), HasSubstr("byte-order mark"));
}

TEST_F(RegistryCommandTest, WarnsOfWhatIsSkipped) {
    const std::pair<std::string, std::string> cases[] = {
        {"!nwreg 1.0 {\na=1\n[s]\n\n;c\n b\n[t\nv=1\n",
         "tvtool: r:1: this is almost the first line of the current format, \"!NWREG 1.0 {\", but "
         "the file is read as sectioned\ntvtool: r:2: a value before the first section is "
         "skipped\ntvtool: r:6: a line that is no comment, section or value is skipped\n"
         "tvtool: r:7: a section without its \"]\" is skipped\n[1]\n"},
        {std::string("!NWREG 1.0 {\r\na=1\0b\r\n}\n", 22),
         "tvtool: r:2: what follows the NUL in this line is skipped\n[1]\n"},
        {"!NWREG 1.0 {;\r\na=1\r\n} \r\n\r\n ;\r\n",
         "tvtool: r:1: what follows \"!NWREG 1.0 {\" in this line is skipped\n"
         "tvtool: r:5: what follows from byte 28 on is behind the end of the registry, and is not "
         "read\n[1]\n"},
        {"!NWREG 1.0 {\n}\n", "tvtool: r: nothing is found in this file\n[1]\n"},
        {"[s]\nv=1\n", ""}};
    for (const auto& [text, warnings] : cases) {
        Write("r", text);
        EXPECT_EQ(Script("registry verify r >o"), warnings);
    }
    Write("r", "[b\n[c]\nx=\n");
    EXPECT_EQ(Script("registry verify r --json 2>e | tr -d ' \n'"),
              "[1]\n"
              R"({"format":"sectioned","directories":1,"values":1,"comments":0,"warnings":)"
              R"(["r:1:asectionwithoutits\"]\"isskipped"]})");
}

TEST_F(RegistryCommandTest, AnswersAsTheFramework) {
    EXPECT_EQ(Script("registry app Calyx 2>e"), "[3]\n");
    Write(cShared, cCurrent);
    const std::string path = Path(cShared), from = "; " + path + "\n", name = "tvtool: " + path;
    EXPECT_EQ(
        Script("registry app Calyx URL; registry app Cal/Paths; registry get Calyx/URL\n"
               "registry show; registry show --shared Calyx/Paths\n"
               "registry app Cal; registry app Calyx Paths; registry app\n"
               "registry app Calyx --json | grep application\n"
               "registry show Calyx/Paths; registry get --shared Calyx/Paths/T; registry get x"),
        from + "URL= \\\\x\n" + from + "T=\\xFF\n \\x\n" + cTree + "T=\\xFF\n" + name +
            ": has no directory for the application \"Cal\"\n[3]\n" + name +
            ": has no value \"Paths\" for the application \"Calyx\"\n[3]\n" + name +
            ": has no directory for the application \"CX7\"\n[3]\n" +
            "  \"application\": \"Calyx\",\nT=\\xFF\n\xFF\n" + name +
            ": holds nothing at \"x\", which names no file either\n[3]\n");
    Write(cShared, "!NWREG 1.0 {\nCalyx{URL=1\n9");
    EXPECT_EQ(Script("registry app Calyx 2>e"), from + "URL=1\n[4]\n");
    EXPECT_THAT(Read("e"), HasSubstr(path + ":3:1: "));
}

// Neither the stack nor the output may grow out of proportion.
TEST_F(RegistryCommandTest, ShowsDeepTrees) {
    std::string text = "!NWREG 1.0 {\n";
    for (int i = 0; i < 50'000; ++i) {
        text += "d{";
    }
    Write("r", text);
    for (const std::string format : {"--json", "--"}) {
        // A status in the output would be no number.
        const unsigned long size =
            std::stoul(Script("registry show r " + format + " >o; stat -c %s o"));
        EXPECT_TRUE(size > 50'000 && size < 50'000 * 150) << size;
    }
}

}  // namespace
}  // namespace tvtest
