#include "tests/tvtool/ToolRunner.h"

namespace tvtest {
namespace {

class UsageTest : public ToolTest {};

TEST_F(UsageTest, SaysWhatIsWrongWithACommandLine) {
    const std::pair<std::string, std::string> cases[] = {
        {"tvtool", "A subcommand is required; see 'tvtool --help'"},
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
    EXPECT_EQ(Script("tvtool bogus >/dev/full"),
              Fails(2, "there is no command \"tvtool bogus\"; see 'tvtool --help'"));
}

}  // namespace
}  // namespace tvtest
