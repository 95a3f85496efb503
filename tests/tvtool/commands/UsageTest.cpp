#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

namespace tvtest {
namespace {

using testing::HasSubstr;

class UsageTest : public ToolTest {};

TEST_F(UsageTest, EveryCommandHasHelpWithAnExample) {
    const std::vector<std::vector<std::string>> commands = {{},
                                                            {"config"},
                                                            {"config", "create"},
                                                            {"config", "show"},
                                                            {"config", "get"},
                                                            {"config", "set"},
                                                            {"config", "unset"},
                                                            {"config", "verify"},
                                                            {"apply"},
                                                            {"details"},
                                                            {"details", "read"},
                                                            {"details", "write"},
                                                            {"details", "check"},
                                                            {"prefs"},
                                                            {"prefs", "list"},
                                                            {"prefs", "get"},
                                                            {"prefs", "set"},
                                                            {"prefs", "delete"},
                                                            {"serve"}};
    for (std::vector<std::string> command : commands) {
        std::string name = "tvtool";
        for (const std::string& word : command) {
            name += " " + word;
        }
        SCOPED_TRACE(name);
        command.push_back("--help");
        const ToolResult help = Run(command);
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.err, "");
        EXPECT_THAT(help.out, HasSubstr("Usage: " + name + " "));
        EXPECT_THAT(help.out, testing::ContainsRegex("Example:\n  .*" + name));
        command.back() = "-h";
        EXPECT_EQ(Run(command), help);
        std::size_t longest = 0;
        for (std::size_t at = 0, end; at < help.out.size(); at = end + 1) {
            end = help.out.find('\n', at);
            longest = std::max(longest, end - at);
        }
        EXPECT_LE(longest, 100U) << help.out;
    }
    EXPECT_THAT(Run({"--version"}).out, testing::StartsWith("tvtool "));
}

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
