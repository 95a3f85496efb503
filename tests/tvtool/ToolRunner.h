// Runs the real tvtool in a home of the test's own. A shell starts it, with a limit of 60 seconds
// and of 256 MiB for each file, so that no test waits or writes without bound.
#pragma once

#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <cstdio>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

namespace tvtest {

// The arguments of the tool: a text for the shell, or single words that are taken literally.
struct Words {
    Words(std::string text) : line(std::move(text)) {}  // NOLINT: calls read better
    Words(const char* text) : line(text) {}             // NOLINT: without a type
    Words(const std::vector<std::string>& words);       // NOLINT
    Words(std::initializer_list<std::string> words) : Words(std::vector<std::string>(words)) {}

    std::string line;
};

struct ToolResult {
    int status = -1;
    std::string out;
    std::string err;

    friend bool operator==(const ToolResult&, const ToolResult&) = default;
};
void PrintTo(const ToolResult& result, std::ostream* out);

// The result of a command that worked, and of one that failed (less "tvtool: " and the line end).
ToolResult Prints(std::string out);
ToolResult Refuses(int status, const std::string& message);

// A tvtool that runs beside the test. Its messages are part of its output.
class BackgroundTool {
public:
    BackgroundTool(const Words& arguments, const std::string& folder);
    // Ends it, unless it was waited for.
    ~BackgroundTool();
    BackgroundTool(const BackgroundTool&) = delete;
    BackgroundTool& operator=(const BackgroundTool&) = delete;

    // Returns the next line without its end, or what there is when the output ends first.
    std::string ReadLine();
    // Takes signals for it.
    pid_t Pid() const { return pid_; }
    // Waits for its end. Returns what was not read yet.
    ToolResult Wait();

private:
    FILE* output_;
    pid_t pid_ = -1;
};

// The tool runs in the home's folder, so files are named relatively.
class ToolTest : public testing::Test {
protected:
    ToolResult Run(const Words& arguments, const std::string& input = "");
    // Runs it as a user whom permissions bind, also when the test is run by root.
    ToolResult RunBound(const Words& arguments);
    // Runs it with standard error going to a file, a terminal for example.
    ToolResult RunWithErrorsTo(const std::string& errors, const Words& arguments);
    // Runs it with standard output going to a file; closed for "".
    ToolResult RunTo(const std::string& output, const Words& arguments);

    // Runs a shell script in which the tool's commands stand by themselves ("config show a.nwc").
    // Returns output and messages as they come. A status other than 0 follows as "[4]\n".
    std::string Script(const std::string& script);

    std::string Read(const std::string& name) { return ReadFile(home_.Path(name)); }
    void Write(const std::string& name, const std::string& bytes) { home_.Write(name, bytes); }
    std::string Path(const std::string& name) { return home_.Path(name); }

    TempHome home_;

private:
    // Runs a shell command whose standard streams are files, so that nobody waits for anybody.
    ToolResult Start(const std::string& command, const std::string& redirections = "",
                     const std::string& input = "");
};

}  // namespace tvtest
