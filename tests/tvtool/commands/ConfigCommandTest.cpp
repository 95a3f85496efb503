#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <tuple>

namespace tvtest {
namespace {

using testing::HasSubstr;

class ConfigCommandTest : public ToolTest {};

TEST_F(ConfigCommandTest, ReadsAndWritesFilesAndStandardStreams) {
    EXPECT_EQ(Script("umask 027; config create a.nwc %A=1; stat -c %a a.nwc; ls -A\n"
                     "config create - %A=1 | cmp - a.nwc; config show - <a.nwc\n"
                     "config verify a.nwc; config set - A=2 <a.nwc | cmp - a.nwc"),
              "640\na.nwc\n%A=1\na.nwc: in order; 1 variable, 1 fixed, check value 3330\n" +
                  Fails(1, "standard input: \"A\" is fixed and kept its value; 'tvtool config "
                           "unset' removes it"));
}

// Whatever a list holds, what is shown of it makes the same file again, as text and as JSON.
TEST_F(ConfigCommandTest, ShowsWhatCreatesTheSame) {
    for (const auto& [lines, shown] : std::vector<std::pair<std::string, const char*>>{
             {"%%=1\n%%%A=2\nA%=3", "%\\x25=1\n%\\x25%A=2\nA%=3\n"},
             {"\\x23a=#\n\\x5Ba]=[\n%\\x5B=x\n", "\\x23a=#\n\\x5Ba]=[\n%\\x5B=x\n"},
             {"a\\x3Db=c=d\n\\x3d=\n", "a\\x3Db=c=d\n\\x3D=\n"},
             {"\\x20a b\\x20= v \n%\\x20=\n", "\\x20a b\\x20= v \n%\\x20=\n"},
             {"a\\n=\\r\\t\\\\n\\x1b[m\\x7f\n", "a\\n=\\r\\t\\\\n\\x1B[m\\x7F\n"},
             // A byte-order mark, control and separator characters, text, and no text.
             {"\xEF\xBB\xBF# comment\r\n \t\n\\xEF\\xBB\\xBFa=\xC2\x9B\xE2\x80\xA8\xC3\xA9\xC3\r\n",
              "\\xEF\\xBB\\xBFa=\\xC2\\x9B\\xE2\\x80\\xA8\xC3\xA9\\xC3\n"},
             // No UTF-8: too long, a surrogate, too large, a stray byte.
             {"a=\xC0\x80|\xE0\x80\x80|\xED\xA0\x80|\xF4\x90\x80\x80|\x80|\xF0\x9F\x98\x80",
              "a=\\xC0\\x80|\\xE0\\x80\\x80|\\xED\\xA0\\x80|\\xF4\\x90\\x80\\x80|\\x80|"
              "\xF0\x9F\x98\x80\n"}}) {
        EXPECT_EQ(Script("create() { config create --force $1 --from $2; }\n"
                         "create a.nwc -; config show a.nwc >t; create t.nwc t; cmp a.nwc t.nwc\n"
                         "config show --json a.nwc | create j.nwc -; cmp a.nwc j.nwc",
                         lines),
                  "");
        EXPECT_EQ(Read("t"), shown);
    }
}

TEST_F(ConfigCommandTest, ShowsTextsInTheSystemEncoding) {
    EXPECT_EQ(Script("config create a.nwc \xC3\xA9=\xFF\x85; config show a.nwc --json"),
              "[\n  {\n    \"name\": \"\xC3\xA9\",\n    \"value\": {\n      \"base64\": \"/4U=\"\n"
              "    },\n    \"fixed\": false\n  }\n]\n");
    const ScopedEnv encoding("TV_SYSTEM_ENCODING", "ISO-8859-1");
    EXPECT_EQ(Script("config get a.nwc \xC3\x83\xC2\xA9 --json"),
              "{\n  \"name\": \"\xC3\x83\xC2\xA9\",\n  \"value\": \"\xC3\xBF\xC2\x85\",\n"
              "  \"fixed\": false\n}\n");
    EXPECT_EQ(Script("config show a.nwc --json | config create b.nwc --from -; cmp a.nwc b.nwc\n"
                     "config create c.nwc --from -; config show a.nwc | tee t\n"
                     "config create c.nwc --from t; cmp a.nwc c.nwc\n"
                     "printf 'a=1\\nb=x\\342\\202\\254' | config create d.nwc --from -\n"
                     "printf 'a=1\\nb=x\\342' | config create d.nwc --from -",
                     "[{\"name\": \"\xE2\x82\xAC\", \"value\": \"\"}]"),
              Fails(4, "standard input: element 1: \"name\": has characters that the system "
                       "encoding does not have") +
                  "\xC3\x83\xC2\xA9=\xC3\xBF\\x85\n" +
                  Fails(4, "standard input:2:4: a character that the system encoding does not "
                           "have; TV_SYSTEM_ENCODING names another") +
                  Fails(4, "standard input:2:4: a byte that is no UTF-8; write it as \\xHH"));
}

TEST_F(ConfigCommandTest, SaysWhereASourceIsWrong) {
    for (const auto& [source, message] : std::vector<std::pair<std::string, std::string>>{
             {"A=1\nB", "2:1: no \"=\""},
             {"A=1\n\xC3\xA9\\q=", "2:2: a backslash begins"},
             {"A=\\x00", "1:3: \\x00 cannot stand"},
             {std::string("A=\0b", 4), "1:3: a NUL"},
             {"A =1", "1:2: a blank before the \"=\""},
             {"% A=1", "1:2: a blank before the name"},
             {"A=1\nA=2", "2:1: \"A\" is set twice; the first time at standard input:1:1"},
             {"=1", "1:1: an empty name"},
             {"\\x25A=1", "1:1: a name that begins with \"%\""},
             {"[{\"name\": \"a\",]", "1:15: is no valid JSON"},
             {"[{\"name\": " + std::string(99999, '[') + std::string(99999, ']') +
                  ", \"value\": 1}]",
              " is JSON that is nested too deep"},
             {"[{\"name\": 1e999}]", " is JSON with a number that is too large"},
             {"[{\"name\": \"\\u0000\", \"value\": \"\"}]", " element 1: \"name\": holds a NUL"},
             {"[{\"name\": \"a\", \"value\": {\"base64\": \"QR==\"}}]",
              " element 1: \"value\": is no valid base64"},
             {"[{\"name\": \"a\", \"value\": \"\", \"fixed\": 1}]",
              " element 1: \"fixed\" must be true or false"}}) {
        const std::string refused = Script("config create a.nwc --from -; ls", source);
        EXPECT_THAT(refused, testing::StartsWith("tvtool: standard input:" + message));
        EXPECT_THAT(refused, testing::EndsWith("\n[4]\n"));
    }
}

// One flipped bit, a cut and bytes behind the end leave the rest readable.
TEST_F(ConfigCommandTest, TellsTheDamageApartAndTakesTheRest) {
    Script("config create a.nwc %A=1 RegOrg=x; head -c 40 a.nwc >cut; (cat a.nwc; echo xy) >more");
    std::string header = Read("a.nwc"), value = header, end = header;
    header[34] = static_cast<char>(0xC8);  // its last character, a 1
    value[39] = static_cast<char>(0xD8);   // a 2
    end[35] ^= 1;                          // the NUL behind it
    Write("header", header);
    Write("value", value);
    Write("end", end);
    Write("other", std::string(99, 'x'));
    const std::string sums = "the file says 4032, its contents sum to 4033 (up to byte 56 of 56)";
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"cut", "cut off: the file ends early; get a complete copy (it ends after byte 40)",
         "%A=1\n"},
        {"header",
         "another header: \"Nimbus Works Configuration File 1.1\" in place of \"Nimbus Works "
         "Configuration File 1.0\", from byte 35 on",
         "tvtool: header: behind the header, it is in order\n%A=1\nRegOrg=x\n"},
        {"end",
         "another header: \"Nimbus Works Configuration File 1.0\\xF0\" in place of \"Nimbus Works "
         "Configuration File 1.0\", from byte 36 on",
         "tvtool: end: behind the header, it is in order\n%A=1\nRegOrg=x\n"},
        {"value", "check value differs: " + sums, "%A=2\nRegOrg=x\n"},
    };
    for (const auto& [file, damage, rest] : cases) {
        const std::string message = "tvtool: " + file + ": " + damage + "\n";
        EXPECT_EQ(Script("config show " + file + "; config show --damaged " + file),
                  message + "[4]\n" + message + rest + "[4]\n");
    }
    EXPECT_EQ(Script("exec 2>/dev/null; config salvage header new; config show new\n"
                     "config get value A --damaged; config salvage other none; ls none\n"
                     "details read --config cut --damaged --json >j; grep Or j\n"
                     "config verify a.nwc value more no --json >j; grep -e kind -e extra j"),
              "new: 2 variables; check their values\n%A=1\nRegOrg=x\n2\n[4]\n[4]\n[4]\n"
              "  \"OrKey\": \"\",\n[4]\n  \"kind\": \"none\",\n  \"extra\": 0\n"
              "  \"kind\": \"check-value-differs\",\n  \"extra\": 0\n  \"kind\": \"none\",\n"
              "  \"extra\": 3\n");
    EXPECT_EQ(Script("config show more"),
              "tvtool: more: what follows from byte 57 on is behind the end of the configuration, "
              "and is not read\n%A=1\nRegOrg=x\n");
}

TEST_F(ConfigCommandTest, GetsByExactNameFirst) {
    EXPECT_EQ(Script("config create a.nwc %A=1 %%A=2 'v=a\nb'\nfor name in A %A %v 'a\nb'; do "
                     "config get a.nwc \"$name\"; done"),
              "1\n2\na\nb\n" +
                  Fails(3, "a.nwc: has no variable \"a\\nb\"; 'tvtool config show' lists them"));
}

TEST_F(ConfigCommandTest, SetsAndUnsets) {
    EXPECT_EQ(Script("config create a.nwc A=1 %F=1 B=2 %%p=3; config set a.nwc B=x=y %A=5 C=; "
                     "config show a.nwc"),
              "%A=5\n%F=1\nB=x=y\n%\\x25p=3\nC=\n");
    EXPECT_EQ(
        Script("config set a.nwc F=2 C=3; config set a.nwc F=1; cp a.nwc before\n"
               "config unset a.nwc F %A --dry-run --diff; config set a.nwc C=4 --dry-run\n"
               "config unset a.nwc A no 2>e; cmp a.nwc before"),
        Fails(1, "a.nwc: \"F\" is fixed and kept its value; 'tvtool config unset' removes it") +
            "--- a.nwc\n+++ a.nwc\n-%A=5\n-%F=1\na.nwc: would change; --diff shows how\n[3]\n");
    EXPECT_EQ(Script("config unset a.nwc F %p; config set a.nwc [B=1] {}=2 --diff -- --C=5\n"
                     "config show a.nwc"),
              "--- a.nwc\n+++ a.nwc\n+\\x5BB=1]\n+{}=2\n+--C=5\n"
              "%A=5\nB=x=y\nC=3\n\\x5BB=1]\n{}=2\n--C=5\n");
}

TEST_F(ConfigCommandTest, ShowsWhatDiffers) {
    EXPECT_EQ(
        Script("config create a.nwc A=1 B=2 C=3; config create b.nwc A=1 %B=2 D=4\n"
               "config create c.nwc C=3 B=2 A=1; config diff a.nwc a.nwc\n"
               "config diff a.nwc - <b.nwc; config diff a.nwc c.nwc\n"
               "tvtool --color=always config diff a.nwc b.nwc | tail -n 1\n"
               "config diff a.nwc b.nwc --json | tr -d ' \n'"),
        "--- a.nwc\n+++ standard input\n-B=2\n+%B=2\n-C=3\n+D=4\n[1]\n"
        "a.nwc and c.nwc hold the same variables in another order\n[1]\n"
        "[1]\n\x1B[32m+D=4\x1B[0m\n[1]\n"
        R"([{"name":"B","before":{"value":"2","fixed":false},"after":{"value":"2","fixed":true}},)"
        R"({"name":"C","before":{"value":"3","fixed":false},"after":null},)"
        R"({"name":"D","before":null,"after":{"value":"4","fixed":false}}])");
}

// The editors are shell scripts. Each gets the path of the text.
TEST_F(ConfigCommandTest, EditsInAnEditor) {
    EXPECT_EQ(Script("export TMPDIR=$PWD/t; mkdir t; config create a.nwc A=1 %B=2\n"
                     "EDITOR='sed -i s/A=1/A=5/' config edit a.nwc; EDITOR=true config edit a.nwc\n"
                     "EDITOR=false config edit a.nwc; ls t\n"
                     "EDITOR='echo X >>' config edit a.nwc >o 2>&1\n"
                     "sed \"s#$PWD/t/tvtool-......#TEXT#\" o; tail -n 1 t/*; rm t/*\n"
                     // On a terminal, the second run of the editor mends the mistake.
                     "echo 'grep -q X $1 && sed -i s/X/X=/ $1 || echo X >>$1' >e\n"
                     "echo | EDITOR='sh e' script -qec \"$TVTOOL config edit a.nwc\" /dev/null |\n"
                     "    grep -c again; ls t; config show a.nwc"),
              "-A=1\n+A=5\na.nwc: nothing has changed\n" +
                  Fails(1, "false: failed, so nothing was changed; EDITOR names another editor") +
                  "[4]\ntvtool: TEXT.txt:5:1: no \"=\"; a line is NAME=VALUE or %NAME=VALUE, or "
                  "begins with \"#\"\ntvtool: TEXT.txt: holds your changes, which were not taken\n"
                  "X\n1\nA=5\n%B=2\nX=\n");
}

TEST_F(ConfigCommandTest, RefusesWhatIsNoUsableFile) {
    Script("mkdir d; mkfifo fifo; ln -s loop loop; echo precious >text\n"
           "for file in closed.nwc readonly.nwc d/a.nwc; do config create $file A=1; done\n"
           "chmod 0 closed.nwc; chmod 444 readonly.nwc; chmod 500 d");
    for (const auto& [file, status, message] :
         {std::tuple("d", 4, "is a folder; name a file"),
          {"fifo", 4, "is no regular file; use \"-\" for standard input or output"},
          {"none", 3, "cannot be read: No such file or directory"},
          {"text/x", 3, "cannot be read: Not a directory"},
          {"loop", 1, "cannot be read: Too many levels of symbolic links"},
          {"closed.nwc", 5, "cannot be read: Permission denied"},
          {"readonly.nwc", 5, "may not be written to: Permission denied"},
          {"d/a.nwc", 5, "no file can be made in its folder: Permission denied"}}) {
        EXPECT_EQ(Script(std::string("config set '") + file + "' A=2"),
                  Fails(status, std::string(file) + ": " + message));
    }
    EXPECT_EQ(Script("chmod 700 d; config show d/a.nwc; config show readonly.nwc\n"
                     "config create text A=1; cat text; config create text A=1 --force\n"
                     "config salvage readonly.nwc text; config show text"),
              "A=1\nA=1\n" + Fails(1, "text: exists; --force replaces it") + "precious\n" +
                  Fails(1, "text: exists; --force replaces it") + "A=1\n");
}

TEST_F(ConfigCommandTest, NoticesThatOutputIsLost) {
    // Nobody has the pipe open for reading any more.
    EXPECT_EQ(Script("mkfifo p; exec 6<>p 7>p 6>&-; tvtool --help >&7"), "[1]\n");
    const std::string full = Fails(1, "standard output: No space left on device");
    EXPECT_EQ(
        Script("tvtool --help >/dev/full; config create a.nwc; config verify a.nwc >/dev/full\n"
               "config show a.nwc --json >&-; config create - >/dev/full 2>e"),
        full + full + Fails(1, "standard output: Bad file descriptor") + "[1]\n");
}

}  // namespace
}  // namespace tvtest
