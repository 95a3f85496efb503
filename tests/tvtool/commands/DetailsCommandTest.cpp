#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

namespace tvtest {
namespace {

class DetailsCommandTest : public ToolTest {
protected:
    static constexpr char cPlist[] = ".config/com.NimbusWorks.NWCX7.plist";
};

TEST_F(DetailsCommandTest, ReadsAndWritesAConfigurationFile) {
    EXPECT_EQ(Script("config create a.nwc AppName=x %RegOrg=Fixed RegLastName=\xFF\n"
                     "details write a.nwc --first-name Ada --email ada@x.org; config show a.nwc\n"
                     "details read --config a.nwc; details read --config a.nwc --json >j; cat j"),
              "AppName=x\n%RegOrg=Fixed\nRegLastName=\\xFF\nRegFirstName=Ada\n"
              "RegEmail=ada@x.org\n"
              "First name:    Ada\nLast name:     \\xFF\nOrganisation:  Fixed\n"
              "E-mail:        ada@x.org\n"
              "{\n  \"FNKey\": \"Ada\",\n  \"LNKey\": {\n    \"base64\": \"/w==\"\n  },\n"
              "  \"OrKey\": \"Fixed\",\n  \"EAKey\": \"ada@x.org\"\n}\n");
    EXPECT_EQ(
        Script("config create b.nwc; details write b.nwc --from - --first-name= <j\n"
               "config show b.nwc; details write a.nwc --organisation New --last-name L\n"
               "details write b.nwc --email no; config get b.nwc RegEmail"),
        "RegFirstName=\nRegLastName=\\xFF\nRegOrg=Fixed\nRegEmail=ada@x.org\n" +
            Fails(
                1,
                "a.nwc: \"RegOrg\" is fixed and kept its value; 'tvtool config unset' removes it") +
            "tvtool: b.nwc: \"no\" is no valid e-mail address (saved)\nno\n");
}

TEST_F(DetailsCommandTest, RefusesDetailsThatCannotBeKept) {
    const std::pair<std::string, std::string> inputs[] = {
        {R"({"EAKey": ")" + std::string(65, 'x') + "\"}",
         "\"EAKey\": has 65 bytes; the framework keeps at most 64"},
        {R"({"First": ""})", "\"First\": is no key; those are FNKey, LNKey, OrKey and EAKey"},
        {"[]", "is no JSON object with the details"}};
    for (const auto& [input, message] : inputs) {
        EXPECT_EQ(
            Script("config create a.nwc --force; details write a.nwc --from -; config show a.nwc",
                   input),
            Fails(4, "standard input: " + message));
    }
    EXPECT_EQ(Script("details write a.nwc --first-name " + std::string(31, 'x') +
                     "; details write none --email a@b.c; config show a.nwc; ls"),
              Fails(2, "--first-name: has 31 bytes; the framework keeps at most 30") +
                  Fails(3, "none: cannot be read: No such file or directory") + "a.nwc\n");
}

TEST_F(DetailsCommandTest, ChecksAddresses) {
    EXPECT_EQ(Script("details check a@b '' [a] -; details check .a@b.c --json", "a@b.c\nx\ty\n"),
              "a@b: not valid\n: not valid\n[a]: not valid\na@b.c: valid\nx\\ty: not valid\n[4]\n"
              "[\n  {\n    \"address\": \".a@b.c\",\n    \"valid\": true\n  }\n]\n");
}

TEST_F(DetailsCommandTest, ReadsPreferencesOnlyWhenAllAreThere) {
    EXPECT_EQ(Script("prefs set RegisterInfo/RegFirstName Ada; prefs set RegisterInfo/RegOrg ''\n"
                     "details read --prefs\n"
                     "prefs set RegisterInfo/RegLastName L\xC3\xB6w\n"
                     "prefs set RegisterInfo/RegEmail a@b.c; details read --prefs"),
              Fails(3, "preferences: no text for RegisterInfo/RegLastName, RegEmail; all four are "
                       "needed") +
                  "First name:    Ada\nLast name:     L\xC3\xB6w\nOrganisation:  \n"
                  "E-mail:        a@b.c\n");
}

TEST_F(DetailsCommandTest, EditsPreferences) {
    const std::string absent = Fails(3, "preferences: no key \"a\"; 'tvtool prefs list' shows all");
    EXPECT_EQ(Script("prefs list; prefs get a; ls -A; prefs set b= '1\n2'; prefs set a -- -x; "
                     "prefs list; prefs list --json\n"
                     "prefs get b=; prefs delete a; prefs delete a; prefs delete b=; prefs list"),
              absent + "a=-x\nb\\x3D=1\\n2\n{\n  \"a\": \"-x\",\n  \"b=\": \"1\\n2\"\n}\n1\n2\n" +
                  absent);
    EXPECT_EQ(Script("prefs set a \x01"),
              Fails(2, "preferences: cannot hold this: a key or text with control characters"));
    // Values that are no texts.
    Write(cPlist,
          "<plist version=\"1.0\"><dict><key>n</key><integer>-5</integer><key>r</key>"
          "<real>0.5</real><key>t</key><true/><key>d</key><data>QQ==</data></dict></plist>");
    EXPECT_EQ(
        Script("prefs list; prefs get n --json; prefs export | tee j | tr -d ' \n'\n"
               "rm .config/*.plist; prefs set o x; prefs import j; prefs list"),
        "d=(neither a text nor a number)\nn=-5\nr=0.5\nt=true\n-5\ntvtool: preferences: \"d\" "
        "has a value that JSON does not have, and is left out\n[1]\n"
        "{\"n\":-5,\"r\":0.5,\"t\":true}n=-5\no=x\nr=0.5\nt=true\n");
    for (const auto& [json, message] : std::vector<std::pair<std::string, std::string>>{
             {"[]", "is no JSON object with keys and values"},
             {R"({"a": "b", "n": null})", "\"n\": must be a text, a 64-bit number, true or false"},
             {R"({"a": "b", "n": 18446744073709551615})",
              "\"n\": must be a text, a 64-bit number, true or false"},
             {R"({"a": "b", "c": "\u0001"})",
              "\"c\": a key or text with control characters cannot be stored"}}) {
        EXPECT_EQ(Script("prefs import -; prefs get a 2>e", json),
                  Fails(4, "standard input: " + message) + "[3]\n");
    }
}

TEST_F(DetailsCommandTest, SaysWhatIsWrongWithPreferences) {
    const std::string plist = Path(cPlist);
    Write(cPlist, "<plist><dict><key>a</key>");
    EXPECT_EQ(Script("prefs list; prefs set a 1; prefs list"),
              Fails(4, plist + ": is no property list; the next change moves it aside and starts "
                               "anew") +
                  "tvtool: " + plist + ": is no property list; it is moved aside\na=1\n");
    EXPECT_EQ(Read(std::string(cPlist) + ".damaged-1"), "<plist><dict><key>a</key>");
    EXPECT_EQ(Script("chmod 0 '" + plist + "'; prefs get a"),
              Fails(5, plist + ": cannot be read: Permission denied"));
    EXPECT_THAT(Script("rm -r .config; chmod 500 .; prefs set a 1; chmod 700 ."),
                testing::EndsWith("cannot hold the preferences: Permission denied\n[5]\n"));
}

}  // namespace
}  // namespace tvtest
