#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <filesystem>

namespace tvtest {
namespace {

using testing::HasSubstr;

class DetailsCommandTest : public ToolTest {
protected:
    static constexpr char cPlist[] = ".config/com.NimbusWorks.NWCX7.plist";

    void Store(const std::string& key, const std::string& value) {
        ASSERT_EQ(Run({"prefs", "set", "RegisterInfo/" + key, value}), Prints(""));
    }
};

TEST_F(DetailsCommandTest, ReadsAndWritesAConfigurationFile) {
    Run({"config", "create", "a.nwc", "AppName=x", "%RegOrg=Fixed", "RegLastName=\xFF"});
    EXPECT_EQ(Run({"details", "write", "a.nwc", "--first-name", "Ada", "--email", "ada@x.org"}),
              Prints(""));
    EXPECT_EQ(Run({"config", "show", "a.nwc"}),
              Prints("AppName=x\n%RegOrg=Fixed\nRegLastName=\\xFF\nRegFirstName=Ada\n"
                     "RegEmail=ada@x.org\n"));
    EXPECT_EQ(Run({"details", "read", "--config", "a.nwc"}),
              Prints("First name:    Ada\nLast name:     \\xFF\nOrganisation:  Fixed\n"
                     "E-mail:        ada@x.org\n"));
    const ToolResult json = Run({"details", "read", "--config", "a.nwc", "--json"});
    EXPECT_EQ(json, Prints("{\n  \"FNKey\": \"Ada\",\n  \"LNKey\": {\n    \"base64\": \"/w==\"\n  "
                           "},\n  \"OrKey\": \"Fixed\",\n  \"EAKey\": \"ada@x.org\"\n}\n"));

    Run({"config", "create", "b.nwc"});
    EXPECT_EQ(Run({"details", "write", "b.nwc", "--from", "-", "--first-name="}, json.out),
              Prints(""));
    EXPECT_EQ(Run({"config", "show", "b.nwc"}),
              Prints("RegFirstName=\nRegLastName=\\xFF\nRegOrg=Fixed\nRegEmail=ada@x.org\n"));

    EXPECT_EQ(Run({"details", "write", "a.nwc", "--organisation", "New", "--last-name", "L"}),
              Refuses(1, "a.nwc: \"RegOrg\" is fixed and kept its value; 'tvtool config unset' "
                         "removes it"));
    ToolResult warned = Prints("");
    warned.err = "tvtool: b.nwc: \"no\" is no valid e-mail address (saved)\n";
    EXPECT_EQ(Run({"details", "write", "b.nwc", "--email", "no"}), warned);
    EXPECT_EQ(Run({"config", "get", "b.nwc", "RegEmail"}), Prints("no\n"));
}

TEST_F(DetailsCommandTest, RefusesDetailsThatCannotBeKept) {
    Run({"config", "create", "a.nwc", "%A=1"});
    const std::string before = Read("a.nwc");
    const struct {
        std::vector<std::string> arguments;
        std::string input;
        int status;
        std::string message;
    } cases[] = {
        {{"--first-name", std::string(31, 'x')},
         "",
         2,
         "--first-name: has 31 bytes; the framework keeps at most 30"},
        {{"--from", "-"},
         "{\"EAKey\": \"" + std::string(65, 'x') + "\"}",
         4,
         "standard input: \"EAKey\": has 65 bytes; the framework keeps at most 64"},
        {{"--from", "-"},
         "{\"FNKey\": 5}",
         4,
         "standard input: \"FNKey\": must be a string or {\"base64\": \"...\"}"},
        {{"--from", "-"},
         "{\"First\": \"\"}",
         4,
         "standard input: \"First\": is no key; those are FNKey, LNKey, OrKey and EAKey"},
        {{"--from", "-"}, "[]", 4, "standard input: is no JSON object with the details"},
        {{"--from", "-"}, "", 4, "standard input:1:1: is no valid JSON from here on"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> arguments = {"details", "write", "a.nwc"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(Run(arguments, c.input), Refuses(c.status, c.message));
    }
    EXPECT_EQ(Read("a.nwc"), before);
    EXPECT_EQ(Run({"details", "write", "none.nwc", "--email", "a@b.c"}).status, 3);
    EXPECT_FALSE(std::filesystem::exists(Path("none.nwc")));
}

TEST_F(DetailsCommandTest, ChecksAddresses) {
    EXPECT_EQ(Run({"details", "check", "a@b.c", ".a@b.c"}),
              Prints("a@b.c: valid\n.a@b.c: valid\n"));
    const ToolResult mixed = Run({"details", "check", "a@b", "", "[a]", "-"}, "a@b.c\nx\ty\n");
    EXPECT_EQ(mixed.status, 4);
    EXPECT_EQ(mixed.out, "a@b: not valid\n: not valid\n[a]: not valid\na@b.c: valid\n"
                         "x\\ty: not valid\n");
    EXPECT_THAT(Run({"details", "check", "a@b.c", "--json"}).out, HasSubstr("\"valid\": true"));
}

TEST_F(DetailsCommandTest, ReadsPreferencesOnlyWhenAllAreThere) {
    Store("RegFirstName", "Ada");
    Store("RegOrg", "");
    EXPECT_EQ(Run({"details", "read", "--prefs"}),
              Refuses(3, "preferences: no text for RegisterInfo/RegLastName, RegEmail; all four "
                         "are needed"));
    Store("RegLastName", "L\xC3\xB6w");
    Store("RegEmail", "a@b.c");
    EXPECT_EQ(Run({"details", "read", "--prefs"}),
              Prints("First name:    Ada\nLast name:     L\xC3\xB6w\nOrganisation:  \n"
                     "E-mail:        a@b.c\n"));
}

TEST_F(DetailsCommandTest, EditsPreferences) {
    EXPECT_EQ(Run({"prefs", "list"}), Prints(""));
    EXPECT_EQ(Run({"prefs", "get", "a"}),
              Refuses(3, "preferences: no key \"a\"; 'tvtool prefs list' shows all"));
    EXPECT_FALSE(std::filesystem::exists(Path(cPlist)));
    EXPECT_EQ(Run({"prefs", "set", "b=", "1\n2"}), Prints(""));
    EXPECT_EQ(Run({"prefs", "set", "a", "--", "-x"}), Prints(""));
    EXPECT_EQ(Run({"prefs", "list"}), Prints("a=-x\nb\\x3D=1\\n2\n"));
    EXPECT_EQ(Run({"prefs", "list", "--json"}),
              Prints("{\n  \"a\": \"-x\",\n  \"b=\": \"1\\n2\"\n}\n"));
    EXPECT_EQ(Run({"prefs", "get", "b="}), Prints("1\n2\n"));
    EXPECT_EQ(Run({"prefs", "delete", "a"}), Prints(""));
    EXPECT_EQ(Run({"prefs", "delete", "a"}).status, 3);
    EXPECT_EQ(Run({"prefs", "delete", "b="}), Prints(""));
    EXPECT_EQ(Run({"prefs", "list"}), Prints(""));
    EXPECT_EQ(Run({"prefs", "set", "a", "\x01"}),
              Refuses(2, "preferences: cannot hold this: a key or text with control characters"));
    EXPECT_EQ(Run({"prefs", "set", "a", "\xFF"}),
              Refuses(2, "\"\\xFF\": is not valid in the system encoding"));
}

TEST_F(DetailsCommandTest, ShowsPreferencesThatAreNoTexts) {
    std::filesystem::create_directory(Path(".config"));
    Write(cPlist,
          "<plist version=\"1.0\"><dict><key>n</key><integer>-5</integer><key>r</key>"
          "<real>0.5</real><key>t</key><true/><key>d</key><data>QQ==</data></dict></plist>");
    EXPECT_EQ(Run({"prefs", "list"}),
              Prints("d=(neither a text nor a number)\nn=-5\nr=0.5\nt=true\n"));
    EXPECT_EQ(Run({"prefs", "get", "n", "--json"}), Prints("-5\n"));
}

TEST_F(DetailsCommandTest, SaysWhatIsWrongWithPreferences) {
    const std::string plist = Path(cPlist);
    std::filesystem::create_directory(Path(".config"));
    Write(cPlist, "<plist><dict><key>a</key>");
    EXPECT_EQ(Run({"prefs", "list"}),
              Refuses(4, plist + ": is no property list; the next change moves it aside and starts "
                                 "anew"));
    ToolResult moved = Prints("");
    moved.err = "tvtool: " + plist + ": is no property list; it is moved aside\n";
    EXPECT_EQ(Run({"prefs", "set", "a", "1"}), moved);
    EXPECT_EQ(Run({"prefs", "list"}), Prints("a=1\n"));
    EXPECT_EQ(Read(std::string(cPlist) + ".damaged-1"), "<plist><dict><key>a</key>");

    ASSERT_EQ(chmod(plist.c_str(), 0), 0);
    EXPECT_EQ(RunBound({"prefs", "get", "a"}),
              Refuses(5, plist + ": cannot be read: Permission denied"));
    std::filesystem::remove(plist);
    std::filesystem::create_directory(plist);
    EXPECT_EQ(Run({"prefs", "set", "a", "1"}), Refuses(4, plist + ": is a folder; name a file"));
    std::filesystem::remove_all(Path(".config"));
    ASSERT_EQ(chmod(Path("").c_str(), 0500), 0);
    const ToolResult closed = RunBound({"prefs", "set", "a", "1"});
    ASSERT_EQ(chmod(Path("").c_str(), 0700), 0);
    EXPECT_EQ(closed.status, 5);
    EXPECT_THAT(closed.err, HasSubstr("cannot hold the preferences: Permission denied"));
}

}  // namespace
}  // namespace tvtest
