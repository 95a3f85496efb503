#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <filesystem>

namespace tvtest {
namespace {

class DetailsCommandTest : public ToolTest {
protected:
    static constexpr char cPlist[] = ".config/com.NimbusWorks.NWCX7.plist";
};

TEST_F(DetailsCommandTest, ReadsAndWritesAConfigurationFile) {
    EXPECT_EQ(Script("config create a.nwc AppName=x %RegOrg=Fixed RegLastName=\xFF\n"
                     "details write a.nwc --first-name Ada --email ada@x.org; config show a.nwc"),
              "AppName=x\n%RegOrg=Fixed\nRegLastName=\\xFF\nRegFirstName=Ada\n"
              "RegEmail=ada@x.org\n");
    EXPECT_EQ(Run("details read --config a.nwc"),
              Prints("First name:    Ada\nLast name:     \\xFF\nOrganisation:  Fixed\n"
                     "E-mail:        ada@x.org\n"));
    const ToolResult json = Run("details read --config a.nwc --json");
    EXPECT_EQ(json, Prints("{\n  \"FNKey\": \"Ada\",\n  \"LNKey\": {\n    \"base64\": \"/w==\"\n  "
                           "},\n  \"OrKey\": \"Fixed\",\n  \"EAKey\": \"ada@x.org\"\n}\n"));
    Run("config create b.nwc");
    EXPECT_EQ(Run("details write b.nwc --from - --first-name=", json.out), Prints(""));
    EXPECT_EQ(
        Script("config show b.nwc; details write a.nwc --organisation New --last-name L\n"
               "details write b.nwc --email no; config get b.nwc RegEmail"),
        "RegFirstName=\nRegLastName=\\xFF\nRegOrg=Fixed\nRegEmail=ada@x.org\n"
        "tvtool: a.nwc: \"RegOrg\" is fixed and kept its value; 'tvtool config unset' removes "
        "it\n[1]\n"
        "tvtool: b.nwc: \"no\" is no valid e-mail address (saved)\nno\n");
}

TEST_F(DetailsCommandTest, RefusesDetailsThatCannotBeKept) {
    Run("config create a.nwc %A=1");
    const std::string before = Read("a.nwc");
    const std::tuple<std::string, int, std::string> inputs[] = {
        {"{\"EAKey\": \"" + std::string(65, 'x') + "\"}", 4,
         "\"EAKey\": has 65 bytes; the framework keeps at most 64"},
        {"{\"FNKey\": 5}", 4, "\"FNKey\": must be a string or {\"base64\": \"...\"}"},
        {"{\"First\": \"\"}", 4, "\"First\": is no key; those are FNKey, LNKey, OrKey and EAKey"},
        {"[]", 4, "is no JSON object with the details"},
    };
    for (const auto& [input, status, message] : inputs) {
        EXPECT_EQ(Run("details write a.nwc --from -", input),
                  Refuses(status, "standard input: " + message));
    }
    EXPECT_EQ(Run("details write a.nwc --first-name " + std::string(31, 'x')),
              Refuses(2, "--first-name: has 31 bytes; the framework keeps at most 30"));
    EXPECT_EQ(Read("a.nwc"), before);
    EXPECT_EQ(Run("details write none.nwc --email a@b.c").status, 3);
    EXPECT_FALSE(std::filesystem::exists(Path("none.nwc")));
}

TEST_F(DetailsCommandTest, ChecksAddresses) {
    const ToolResult mixed = {
        4, "a@b: not valid\n: not valid\n[a]: not valid\na@b.c: valid\nx\\ty: not valid\n", ""};
    EXPECT_EQ(Run("details check a@b '' [a] -", "a@b.c\nx\ty\n"), mixed);
    EXPECT_EQ(Run("details check .a@b.c --json"),
              Prints("[\n  {\n    \"address\": \".a@b.c\",\n    \"valid\": true\n  }\n]\n"));
}

TEST_F(DetailsCommandTest, ReadsPreferencesOnlyWhenAllAreThere) {
    EXPECT_EQ(Script("prefs set RegisterInfo/RegFirstName Ada; prefs set RegisterInfo/RegOrg ''\n"
                     "details read --prefs\n"
                     "prefs set RegisterInfo/RegLastName L\xC3\xB6w\n"
                     "prefs set RegisterInfo/RegEmail a@b.c; details read --prefs"),
              "tvtool: preferences: no text for RegisterInfo/RegLastName, RegEmail; all four are "
              "needed\n[3]\n"
              "First name:    Ada\nLast name:     L\xC3\xB6w\nOrganisation:  \n"
              "E-mail:        a@b.c\n");
}

TEST_F(DetailsCommandTest, EditsPreferences) {
    const std::string absent =
        "tvtool: preferences: no key \"a\"; 'tvtool prefs list' shows all\n[3]\n";
    EXPECT_EQ(Script("prefs list; prefs get a; ls -A"), absent);
    EXPECT_EQ(Script("prefs set b= '1\n2'; prefs set a -- -x; prefs list; prefs list --json\n"
                     "prefs get b=; prefs delete a; prefs delete a; prefs delete b=; prefs list"),
              "a=-x\nb\\x3D=1\\n2\n{\n  \"a\": \"-x\",\n  \"b=\": \"1\\n2\"\n}\n1\n2\n" + absent);
    EXPECT_EQ(Run("prefs set a \x01"),
              Refuses(2, "preferences: cannot hold this: a key or text with control characters"));
    EXPECT_EQ(Run("prefs set a \xFF"),
              Refuses(2, "\"\\xFF\": is not valid in the system encoding"));
}

TEST_F(DetailsCommandTest, ShowsPreferencesThatAreNoTexts) {
    Write(cPlist,
          "<plist version=\"1.0\"><dict><key>n</key><integer>-5</integer><key>r</key>"
          "<real>0.5</real><key>t</key><true/><key>d</key><data>QQ==</data></dict></plist>");
    EXPECT_EQ(Script("prefs list; prefs get n --json"),
              "d=(neither a text nor a number)\nn=-5\nr=0.5\nt=true\n-5\n");
}

TEST_F(DetailsCommandTest, SaysWhatIsWrongWithPreferences) {
    const std::string plist = Path(cPlist);
    Write(cPlist, "<plist><dict><key>a</key>");
    EXPECT_EQ(Script("prefs list; prefs set a 1; prefs list"),
              "tvtool: " + plist +
                  ": is no property list; the next change moves it aside and "
                  "starts anew\n[4]\n"
                  "tvtool: " +
                  plist + ": is no property list; it is moved aside\na=1\n");
    EXPECT_EQ(Read(std::string(cPlist) + ".damaged-1"), "<plist><dict><key>a</key>");

    ASSERT_EQ(chmod(plist.c_str(), 0), 0);
    EXPECT_EQ(RunBound("prefs get a"), Refuses(5, plist + ": cannot be read: Permission denied"));
    std::filesystem::remove(plist);
    std::filesystem::create_directory(plist);
    EXPECT_EQ(Run("prefs set a 1"), Refuses(4, plist + ": is a folder; name a file"));
    std::filesystem::remove_all(Path(".config"));
    ASSERT_EQ(chmod(Path("").c_str(), 0500), 0);
    const ToolResult closed = RunBound("prefs set a 1");
    ASSERT_EQ(chmod(Path("").c_str(), 0700), 0);
    EXPECT_EQ(closed.status, 5);
    EXPECT_THAT(closed.err, testing::HasSubstr("cannot hold the preferences: Permission denied"));
}

}  // namespace
}  // namespace tvtest
