#include "tests/tvtool/ToolRunner.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace tvtest {

std::string Fails(int status, const std::string& message) {
    return "tvtool: " + message + "\n[" + std::to_string(status) + "]\n";
}

std::string ToolTest::Script(const std::string& script, const std::string& input) {
    const std::string tool =
        std::string("timeout --foreground -k 5 60 ") +
        (geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search " : "") +
        "'" TVTOOL_FILE "'";
    // The streams are files, so that nobody waits for anybody.
    const TempDir streams;
    std::string text = "cd '" + Path() + "' && ulimit -f 524288 || exit 99\nexec <" +
                       streams.Write("in", input) + " >" + streams.Path("out") +
                       " 2>&1 9>&1\nTVTOOL=\"" + tool + "\"\n" + "tvtool() { " + tool +
                       " \"$@\" 9>&- || echo \"[$?]\" >&9; }\n";
    for (const std::string command : {"apply", "config", "details", "prefs", "registry", "serve"}) {
        text += command + "() { tvtool " + command + " \"$@\"; }\n";
    }
    const int status = std::system((text + script).c_str());
    EXPECT_TRUE(WIFEXITED(status)) << script;
    return ReadFile(streams.Path("out"));
}

}  // namespace tvtest
