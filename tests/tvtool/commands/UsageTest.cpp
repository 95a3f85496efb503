#include "tests/tvtool/ToolRunner.h"

namespace tvtest {
namespace {

class UsageTest : public ToolTest {};

TEST_F(UsageTest, SaysWhatIsWrongWithACommandLine) {
    const struct {
        std::vector<std::string> arguments;
        std::string message;
    } cases[] = {
        {{}, "A subcommand is required; see 'tvtool --help'"},
        {{"bogus"}, "there is no command \"tvtool bogus\"; see 'tvtool --help'"},
        {{"config", "bog\nus"},
         "there is no command \"tvtool config bog\\nus\"; see 'tvtool config --help'"},
        {{"config", "show"}, "FILE is required; see 'tvtool config show --help'"},
        {{"config", "show", "a", "--nope"},
         "The following argument was not expected: --nope; see 'tvtool config show --help'"},
        {{"config", "create", "a", "A"}, "\"A\": has no \"=\"; write NAME=VALUE or %NAME=VALUE"},
        {{"config", "create", "a", "=1"},
         "\"=1\": an empty name can only be stored as that of a fixed variable, %=VALUE"},
        {{"config", "set", "-", "A=1", "--diff"},
         "--diff: standard output is taken by the file; add --dry-run"},
        {{"details", "read"}, "details read: give either --config FILE or --prefs"},
        {{"details", "write", "a"}, "details write: give at least one detail, or --from FILE"},
        {{"details", "write", "a", "--email"},
         "--email needs a value; see 'tvtool details write --help'"},
        {{"apply", "--delimiters", "<"},
         "--delimiters \"<\": give exactly two characters, the opening and the closing one"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Run(c.arguments), Refuses(2, c.message));
    }
}

}  // namespace
}  // namespace tvtest
