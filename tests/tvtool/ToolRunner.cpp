#include "tests/tvtool/ToolRunner.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>
#include <utility>

namespace tvtest {

namespace {

constexpr char cTool[] = "timeout --foreground -k 5 60 '" TVTOOL_FILE "' ";

// What a script begins with.
std::string enter(const std::string& folder) {
    return "cd '" + folder + "' && ulimit -f 524288 || exit 99\n";
}

int exitStatus(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace

Words::Words(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        line += " '";
        for (const char c : word) {
            line += c == '\'' ? "'\\''" : std::string(1, c);
        }
        line += "'";
    }
}

void PrintTo(const ToolResult& result, std::ostream* out) {
    *out << "status " << result.status << "\n-- output:\n"
         << result.out << "-- errors:\n"
         << result.err;
}

ToolResult Prints(std::string out) {
    return {0, std::move(out), ""};
}

ToolResult Refuses(int status, const std::string& message) {
    return {status, "", "tvtool: " + message + "\n"};
}

ToolResult ToolTest::Start(const std::string& command, const std::string& redirections,
                           const std::string& input) {
    const TempDir streams;
    const std::string out = streams.Path("out");
    const std::string err = streams.Path("err");
    const std::string script = enter(home_.Path()) + "exec <" + streams.Write("in", input) + " >" +
                               out + " 2>" + err + redirections + "\n" + command;
    const int status = exitStatus(std::system(script.c_str()));
    return {status, ReadFile(out), ReadFile(err)};
}

ToolResult ToolTest::Run(const Words& arguments, const std::string& input) {
    return Start(cTool + arguments.line, "", input);
}

ToolResult ToolTest::RunTo(const std::string& output, const Words& arguments) {
    return Start(cTool + arguments.line, output.empty() ? " >&-" : " >" + output);
}

ToolResult ToolTest::RunWithErrorsTo(const std::string& errors, const Words& arguments) {
    return Start(cTool + arguments.line, " 2>" + errors);
}

ToolResult ToolTest::RunBound(const Words& arguments) {
    const std::string drop = "setpriv --bounding-set=-dac_override,-dac_read_search ";
    return Start((geteuid() == 0 ? drop : "") + cTool + arguments.line);
}

std::string ToolTest::Script(const std::string& script) {
    std::string functions;
    for (const std::string command : {"apply", "config", "details", "prefs", "registry", "serve"}) {
        functions += command + "() { " + cTool + command + " \"$@\" || echo \"[$?]\"; }\n";
    }
    return Start(functions + script, " 2>&1").out;
}

BackgroundTool::BackgroundTool(const Words& arguments, const std::string& folder)
    : output_(popen((enter(folder) + "echo $$; exec " + cTool + arguments.line + " 2>&1").c_str(),
                    "r")),
      pid_(std::atoi(ReadLine().c_str())) {}

BackgroundTool::~BackgroundTool() {
    if (output_ != nullptr) {
        kill(pid_, SIGTERM);
        pclose(output_);
    }
}

std::string BackgroundTool::ReadLine() {
    std::string line;
    for (int byte = 0; (byte = std::fgetc(output_)) != EOF && byte != '\n';) {
        line += static_cast<char>(byte);
    }
    return line;
}

ToolResult BackgroundTool::Wait() {
    ToolResult result;
    for (int byte = 0; (byte = std::fgetc(output_)) != EOF;) {
        result.out += static_cast<char>(byte);
    }
    result.status = exitStatus(pclose(std::exchange(output_, nullptr)));
    return result;
}

}  // namespace tvtest
