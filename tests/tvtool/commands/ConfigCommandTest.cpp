#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <tuple>

namespace tvtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ConfigCommandTest : public ToolTest {
protected:
    void Create(const std::string& name, const std::string& lines) {
        ASSERT_EQ(Run({"config", "create", name, "--from", "-"}, lines), Prints(""));
    }
    std::string Show(const std::string& name) { return Run({"config", "show", name}).out; }
};

// A list of one fixed variable, A=1, as any other program would write it.
constexpr unsigned char cFileOfA1[] = {
    0x9a, 0x4c, 0x8c, 0xdb, 0x0d, 0xec, 0xb7, 0x2b, 0xac, 0xdc, 0x6c, 0xec, 0xb7, 0xe9, 0xac, 0x9c,
    0x1c, 0x4c, 0x2c, 0x0d, 0xdc, 0xcb, 0xfc, 0x4c, 0xac, 0x9c, 0xb7, 0x1a, 0x4c, 0x7c, 0x0c, 0xb7,
    0xc8, 0x98, 0xb8, 0xb5, 0x08, 0xc9, 0xb5, 0xc8, 0xb5, 0xb5, 0xe8, 0xe8, 0xe8, 0xb8, 0xb5};

std::string fileOfA1() {
    return {reinterpret_cast<const char*>(cFileOfA1), sizeof cFileOfA1};
}

TEST_F(ConfigCommandTest, ReadsAndWritesTheFormat) {
    EXPECT_EQ(Run({"config", "create", "a.nwc", "%A=1"}), Prints(""));
    EXPECT_EQ(Read("a.nwc"), fileOfA1());
    EXPECT_EQ(Run({"config", "show", "a.nwc"}), Prints("%A=1\n"));
    EXPECT_EQ(Run({"config", "verify", "a.nwc"}),
              Prints("a.nwc: in order; 1 variable, 1 fixed, check value 3330\n"));
    EXPECT_EQ(Run({"config", "create", "-", "%A=1"}), Prints(fileOfA1()));
    EXPECT_EQ(Run({"config", "show", "-"}, fileOfA1()), Prints("%A=1\n"));
}

// Whatever a list holds, what is shown of it makes the same file again, as text and as JSON.
TEST_F(ConfigCommandTest, ShowsWhatCreatesTheSame) {
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte) {
        constexpr char cHex[] = "0123456789abcdef";
        const std::string escape = std::string("\\x") + cHex[byte / 16] + cHex[byte % 16];
        // First, within and last in a name; whole, and at both ends of a value.
        everyByte += "%" + escape + "=" + escape + "\n" + "n" + escape + "=" + escape + "v" +
                     escape + "\n%" + escape + "m" + escape + "=\n";
    }
    for (const auto& [lines, shown] : std::vector<std::pair<std::string, const char*>>{
             {"", ""},
             {"A=1\n%B=2\n%=empty\nC=\n", "A=1\n%B=2\n%=empty\nC=\n"},
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
              "\xF0\x9F\x98\x80\n"},
             {everyByte, nullptr}}) {
        SCOPED_TRACE(lines.substr(0, 40));
        Create("a.nwc", lines);
        const std::string text = Show("a.nwc");
        EXPECT_EQ(text, shown != nullptr ? shown : text);
        Create("text.nwc", text);
        EXPECT_EQ(Read("text.nwc"), Read("a.nwc"));
        Create("json.nwc", Run({"config", "show", "--json", "a.nwc"}).out);
        EXPECT_EQ(Read("json.nwc"), Read("a.nwc"));
    }
}

TEST_F(ConfigCommandTest, PutsTextsIntoJsonInTheSystemEncoding) {
    Create("a.nwc", "\xC3\xA9=\xFF\n");
    constexpr char cUtf8[] = "[\n  {\n    \"name\": \"\xC3\xA9\",\n    \"value\": {\n"
                             "      \"base64\": \"/w==\"\n    },\n    \"fixed\": false\n  }\n]\n";
    EXPECT_EQ(Run({"config", "show", "a.nwc", "--json"}), Prints(cUtf8));
    const ScopedEnv encoding("TV_SYSTEM_ENCODING", "ISO-8859-1");
    const ToolResult json = Run({"config", "show", "a.nwc", "--json"});
    EXPECT_THAT(json.out, HasSubstr("\"name\": \"\xC3\x83\xC2\xA9\""));
    EXPECT_THAT(json.out, HasSubstr("\"value\": \"\xC3\xBF\""));
    Create("b.nwc", json.out);
    EXPECT_EQ(Read("b.nwc"), Read("a.nwc"));
    EXPECT_EQ(Run({"config", "create", "c.nwc", "--from", "-"},
                  "[{\"name\": \"\xE2\x82\xAC\", \"value\": \"\"}]"),
              Refuses(4, "standard input: element 1: \"name\": has characters that the system "
                         "encoding does not have"));
}

TEST_F(ConfigCommandTest, SaysWhereASourceIsWrong) {
    for (const auto& [source, message] : std::vector<std::pair<std::string, const char*>>{
             {"A=1\nB", "2:1: no \"=\""},
             {"A=1\n\xC3\xA9\\q=", "2:2: a backslash begins"},
             {"A=\\x4", "1:3: a backslash begins"},
             {"A=x\\", "1:4: a backslash begins"},
             {"A=\\x00", "1:3: \\x00 cannot stand"},
             {std::string("A=\0b", 4), "1:3: a NUL"},
             {"A =1", "1:2: a blank before the \"=\""},
             {"% A=1", "1:2: a blank before the name"},
             {"A=1\nA=2", "2:1: \"A\" is set twice; the first time at standard input:1:1"},
             {"=1", "1:1: an empty name"},
             {"\\x25A=1", "1:1: a name that begins with \"%\""},
             {"[{\"name\": \"a\",]", "1:15: is no valid JSON"},
             {" [1]", " element 1: is no object"},
             {"[{\"name\": \"a\"}]", " element 1: is no object"},
             {"[{\"name\": 1, \"value\": \"\"}]", " element 1: \"name\": must be a string"},
             {"[{\"name\": \"\\u0000\", \"value\": \"\"}]", " element 1: \"name\": holds a NUL"},
             {"[{\"name\": \"a\", \"value\": {\"base64\": \"Q\"}}]",
              "\"value\": is no valid base64"},
             {"[{\"name\": \"a\", \"value\": {\"base64\": \"QR==\"}}]", "is no valid base64"},
             {"[{\"name\": \"a\", \"value\": \"\", \"fixed\": 1}]",
              "\"fixed\" must be true or false"}}) {
        const ToolResult result = Run({"config", "create", "a.nwc", "--from", "-"}, source);
        EXPECT_EQ(result.status, 4) << source;
        EXPECT_THAT(result.err, StartsWith("tvtool: standard input:"));
        EXPECT_THAT(result.err, HasSubstr(message));
        EXPECT_FALSE(std::filesystem::exists(Path("a.nwc")));
    }
}

TEST_F(ConfigCommandTest, TellsTheDamageApart) {
    const auto changed = [](std::size_t at, int byte) {
        std::string bytes = fileOfA1();
        bytes[at] = static_cast<char>(byte);
        return bytes;
    };
    for (const auto& [bytes, kind, damage] :
         {std::tuple(std::string(), "no-header",
                     "no header: the file is empty, or no configuration file"),
          {std::string(100000, 'x'), "no-header", "no header: this is no configuration file"},
          {fileOfA1().substr(0, 40), "cut-off",
           "cut off: the file ends early; get a complete copy"},
          // The last character of the header, a 1.
          {changed(34, 0xC8), "other-header",
           "another header: \"Nimbus Works Configuration File 1.1\" in place of "
           "\"Nimbus Works Configuration File 1.0\""},
          // The value, a 2.
          {changed(39, 0xD8), "check-value-differs",
           "check value differs: the file says 3330, its contents sum to 3331"}}) {
        Write("a.nwc", bytes);
        ToolResult refused = Refuses(4, "a.nwc: " + std::string(damage));
        EXPECT_EQ(Run({"config", "show", "a.nwc"}), refused);
        const ToolResult json = Run({"config", "verify", "--json", "a.nwc"});
        EXPECT_EQ(json.status, 4);
        EXPECT_THAT(json.out, HasSubstr("\"kind\": \"" + std::string(kind) + "\",\n"));
    }
}

TEST_F(ConfigCommandTest, GetsByExactNameFirst) {
    Create("a.nwc", "%A=1\n%\\x25A=2\nv=a\\nb\n");
    EXPECT_EQ(Run({"config", "get", "a.nwc", "A"}), Prints("1\n"));
    EXPECT_EQ(Run({"config", "get", "a.nwc", "%A"}), Prints("2\n"));
    EXPECT_EQ(Run({"config", "get", "a.nwc", "%v"}), Prints("a\nb\n"));
    EXPECT_EQ(Run({"config", "get", "a.nwc", "v", "--json"}),
              Prints("{\n  \"name\": \"v\",\n  \"value\": \"a\\nb\",\n  \"fixed\": false\n}\n"));
    EXPECT_EQ(Run({"config", "get", "a.nwc", "a\nb"}),
              Refuses(3, "a.nwc: has no variable \"a\\nb\"; 'tvtool config show' lists them"));
}

TEST_F(ConfigCommandTest, SetsAndUnsets) {
    Create("a.nwc", "A=1\n%F=1\nB=2\n%\\x25p=3\n");
    EXPECT_EQ(Run({"config", "set", "a.nwc", "B=x=y", "%A=5", "C="}), Prints(""));
    EXPECT_EQ(Show("a.nwc"), "%A=5\n%F=1\nB=x=y\n%\\x25p=3\nC=\n");

    ToolResult kept = Refuses(1, "a.nwc: \"F\" is fixed and kept its value; unset it first");
    EXPECT_EQ(Run({"config", "set", "a.nwc", "F=2", "C=3"}), kept);
    EXPECT_EQ(Run({"config", "set", "a.nwc", "F=1"}), Prints(""));
    EXPECT_EQ(Show("a.nwc"), "%A=5\n%F=1\nB=x=y\n%\\x25p=3\nC=3\n");

    const std::string before = Read("a.nwc");
    EXPECT_EQ(Run({"config", "unset", "a.nwc", "A", "no"}).status, 3);
    EXPECT_EQ(Run({"config", "unset", "a.nwc", "F", "%A", "--dry-run", "--diff"}),
              Prints("--- a.nwc\n+++ a.nwc\n-%A=5\n-%F=1\n"));
    EXPECT_EQ(Run({"config", "set", "a.nwc", "C=4", "--dry-run"}),
              Prints("a.nwc: would change; --diff shows how\n"));
    EXPECT_EQ(Read("a.nwc"), before);
    EXPECT_EQ(Run({"config", "unset", "a.nwc", "F", "%p"}), Prints(""));
    EXPECT_EQ(Run({"config", "set", "a.nwc", "[B=1]", "{}=2", "--diff", "--", "--C=5"}),
              Prints("--- a.nwc\n+++ a.nwc\n+\\x5BB=1]\n+{}=2\n+--C=5\n"));
    EXPECT_EQ(Show("a.nwc"), "%A=5\nB=x=y\nC=3\n\\x5BB=1]\n{}=2\n--C=5\n");
    const ToolResult piped = Run({"config", "set", "-", "A=2"}, fileOfA1());
    EXPECT_EQ(piped.status, 1);
    EXPECT_EQ(piped.out, fileOfA1());
}

TEST_F(ConfigCommandTest, KeepsModeOwnerAndLinks) {
    namespace fs = std::filesystem;
    Create("real.nwc", "A=1\n");
    fs::create_directory(Path("d"));
    fs::create_symlink("../real.nwc", Path("d/one.nwc"));
    fs::create_symlink(Path("d/one.nwc"), Path("two.nwc"));
    const bool isRoot = geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(chown(Path("real.nwc").c_str(), 12345, 54321), 0);
    }
    ASSERT_EQ(chmod(Path("real.nwc").c_str(), 0640), 0);
    ASSERT_EQ(Run({"config", "set", "two.nwc", "A=2"}), Prints(""));
    EXPECT_EQ(Show("real.nwc"), "A=2\n");
    EXPECT_TRUE(fs::is_symlink(Path("two.nwc")) && fs::is_symlink(Path("d/one.nwc")));
    struct stat info = {};
    ASSERT_EQ(stat(Path("real.nwc").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
    EXPECT_EQ(info.st_uid, isRoot ? 12345 : geteuid());
    EXPECT_TRUE(!isRoot || info.st_gid == 54321);

    fs::create_symlink("new.nwc", Path("three.nwc"));
    const mode_t mask = umask(027);
    ASSERT_EQ(Run({"config", "create", "three.nwc", "B=1"}), Prints(""));
    umask(mask);
    EXPECT_TRUE(fs::is_symlink(Path("three.nwc")));
    ASSERT_EQ(stat(Path("new.nwc").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
    // Nothing is left beside the files.
    for (const auto& entry : fs::directory_iterator(Path(""))) {
        EXPECT_THAT(entry.path().filename().string(), testing::Not(StartsWith(".tvtool")));
    }
}

TEST_F(ConfigCommandTest, RefusesWhatIsNoUsableFile) {
    namespace fs = std::filesystem;
    fs::create_directory(Path("d"));
    ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
    fs::create_symlink("loop", Path("loop"));
    Create("closed.nwc", "A=1\n");
    Create("readonly.nwc", "A=1\n");
    Create("d/a.nwc", "A=1\n");
    Write("text", "precious\n");
    ASSERT_EQ(chmod(Path("closed.nwc").c_str(), 0), 0);
    ASSERT_EQ(chmod(Path("readonly.nwc").c_str(), 0444), 0);
    ASSERT_EQ(chmod(Path("d").c_str(), 0500), 0);
    for (const auto& [file, status, message] :
         std::vector<std::tuple<std::string, int, std::string>>{
             {"d", 4, "d: is a folder; name a file"},
             {"fifo", 4, "fifo: is no regular file; use \"-\" for standard input or output"},
             {"none", 3, "none: cannot be read: No such file or directory"},
             {"text/x", 3, "text/x: cannot be read: Not a directory"},
             {"loop", 1, "loop: cannot be read: Too many levels of symbolic links"},
             {std::string(5000, 'x'), 1,
              std::string(5000, 'x') + ": cannot be read: File name too long"},
             {"", 3, ": cannot be read: No such file or directory"},
             {"closed.nwc", 5, "closed.nwc: cannot be read: Permission denied"},
             {"readonly.nwc", 5, "readonly.nwc: may not be written to: Permission denied"},
             {"d/a.nwc", 5, "d/a.nwc: no file can be made in its folder: Permission denied"}}) {
        EXPECT_EQ(RunBound({"config", "set", file, "A=2"}), Refuses(status, message));
    }
    ASSERT_EQ(chmod(Path("d").c_str(), 0700), 0);
    EXPECT_EQ(Show("d/a.nwc") + Show("readonly.nwc"), "A=1\nA=1\n");

    EXPECT_EQ(Run({"config", "create", "text", "A=1"}),
              Refuses(1, "text: exists and is no configuration file; --force replaces it"));
    EXPECT_EQ(Read("text"), "precious\n");
    EXPECT_EQ(Run({"config", "create", "text", "A=1", "--force"}), Prints(""));
    EXPECT_EQ(Run({"config", "create", "text", "A=2"}), Prints(""));
    EXPECT_EQ(Show("text"), "A=2\n");
}

TEST_F(ConfigCommandTest, NoticesThatOutputIsLost) {
    Create("a.nwc", "A=1\n");
    const ToolResult full = Refuses(1, "standard output: No space left on device");
    EXPECT_EQ(RunTo("/dev/full", {"config", "show", "a.nwc"}), full);
    EXPECT_EQ(RunTo("/dev/full", {"--help"}), full);
    EXPECT_EQ(RunTo("/dev/full", {"config", "create", "-"}).status, 1);
    EXPECT_EQ(RunTo("", {"config", "show", "a.nwc"}),
              Refuses(1, "standard output: Bad file descriptor"));
}

}  // namespace
}  // namespace tvtest
