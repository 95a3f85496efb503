#include "tests/tvtool/ToolRunner.h"

namespace tvtest {
namespace {

class UsageTest : public ToolTest {};

TEST_F(UsageTest, SaysWhatIsWrongWithACommandLine) {
    const std::pair<std::string, std::string> cases[] = {
        {"tvtool", "a command is missing; see 'tvtool --help'"},
        {"config shwo", "there is no command \"tvtool config shwo\"; did you mean \"show\"?; see "
                        "'tvtool config --help'"},
        {"tvtool help config x",
         "there is no command \"tvtool config x\"; see 'tvtool config --help'"},
        {"config show a --jsn x",
         "there is no option \"--jsn\"; did you mean \"--json\"?; see 'tvtool config show --help'"},
        {"config show a 'b\nc' d", "there are arguments too many: \"b\\nc\" \"d\"; see 'tvtool "
                                   "config show --help'"},
        {"config show --color=x a", "--color \"x\": is none of auto, always and never"},
        {"registry get", "registry get: give the PATH of a value too"},
        {"apply --json a", "apply --json: goes with --list only; add --list or leave it out"},
        {"config 'bog\nus'",
         "there is no command \"tvtool config bog\\nus\"; see 'tvtool config --help'"},
        {"config create a =1",
         "\"=1\": an empty name can only be stored as that of a fixed variable, %=VALUE"},
        {"config set - A=1 --diff", "--diff: standard output is taken by the file; add --dry-run"},
        {"details write - --from -",
         "details write: standard input cannot be both FILE and --from"},
        {"apply --delimiters '<'",
         "--delimiters \"<\": give exactly two characters, the opening and the closing one"},
    };
    for (const auto& [script, message] : cases) {
        EXPECT_EQ(Script(script), Fails(2, message));
    }
    EXPECT_EQ(Script("tvtool help config set >a; config set --help | cmp - a\n"
                     "tvtool help | head -n 1; tvtool --version >a; tvtool version | cmp - a\n"
                     "config create a.nwc AppName=1; config get a.nwc appnme; unset NO_COLOR\n"
                     "export TERM=dumb; set='config set a.nwc B=1 --dry-run --diff'\n"
                     "script -qc \"$TVTOOL $set\" /dev/null | tail -n 1\n"
                     "script -qc \"$TVTOOL $set --color always\" /dev/null | tail -n 1"),
              "Looks into and edits what TVframework works with.\n" +
                  Fails(3, "a.nwc: has no variable \"appnme\"; did you mean \"AppName\"?") +
                  "+B=1\r\n\x1B[32m+B=1\x1B[0m\r\n");
    EXPECT_EQ(Script("tvtool bogus >/dev/full"),
              Fails(2, "there is no command \"tvtool bogus\"; see 'tvtool --help'"));
}

// Arguments and what people read are UTF-8 whatever the system encoding is.
TEST_F(UsageTest, TakesArgumentsInUtf8) {
    const ScopedEnv encoding("TV_SYSTEM_ENCODING", "ISO-8859-1");
    Write("machine/Nimbus Works/Nimbus Works Registry", "[Pa\xE9]\nx=\xE9\n");
    const std::string refused =
        "has a character that the system encoding does not have; TV_SYSTEM_ENCODING names another";
    EXPECT_EQ(
        Script("config create é.nwc RegFirstName=é; config get é.nwc RegFirstName | od -An -tx1\n"
               "details write é.nwc --last-name José; details read --config é.nwc | head -n 2\n"
               "config get é.nwc ñ; prefs set ñ é; prefs list; config show é.nwc | head -n 1\n"
               "details write é.nwc --first-name 日; config set é.nwc A=$(printf '\\377')\n"
               "registry show Paé; config é\n"
               "apply '<ñ>' --set ñ=é | od -An -tx1; apply --strict '<ñ>' 2>&1"),
        " e9 0a\nFirst name:    é\nLast name:     José\n" +
            Fails(3, "é.nwc: has no variable \"ñ\"; 'tvtool config show' lists them") +
            "ñ=é\nRegFirstName=é\n" + Fails(2, "\"日\": " + refused) +
            Fails(2, "\"A=\\xFF\": is not UTF-8") + "x=é\n" +
            Fails(2, "there is no command \"tvtool config é\"; see 'tvtool config --help'") +
            " e9 0a\n" + Fails(1, "TEXT:1:1: nobody defines \"ñ\""));
    const ScopedEnv unknown("TV_SYSTEM_ENCODING", "UTF-9");
    EXPECT_EQ(Script("prefs list"),
              "tvtool: TV_SYSTEM_ENCODING \"UTF-9\": no 8-bit encoding has this "
              "name; the default is used\nñ=é\n");
}

}  // namespace
}  // namespace tvtest
