// Runs the real tvtool in a home of the test's own.
#pragma once

#include "tests/support/TempHome.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace tvtest {

struct ToolResult {
    int status = -1;
    std::string out;
    std::string err;

    friend bool operator==(const ToolResult&, const ToolResult&) = default;
};
void PrintTo(const ToolResult& result, std::ostream* out);

// What a command that worked prints, and what one that did not says (less "tvtool: " and line end).
ToolResult Prints(std::string out);
ToolResult Refuses(int status, const std::string& message);

// A tvtool that runs beside the test. Whatever waits here fails the test after a minute.
class BackgroundTool {
public:
    // `input` is a file, seen from `folder`.
    BackgroundTool(const std::vector<std::string>& arguments, const std::string& folder,
                   const std::string& input = "/dev/null");
    // Kills it, unless it was waited for.
    ~BackgroundTool();
    BackgroundTool(const BackgroundTool&) = delete;
    BackgroundTool& operator=(const BackgroundTool&) = delete;

    // The next line, without its end; what there is when the stream ends first.
    std::string ReadOutputLine() { return ReadLine(output_); }
    std::string ReadErrorLine() { return ReadLine(errors_); }
    void Signal(int number);
    // Waits for its end; with what was not read yet.
    ToolResult Wait();

private:
    static bool ReadByte(int stream, char& byte);
    static std::string ReadLine(int stream);
    static std::string ReadAll(int stream);

    pid_t pid_ = -1;
    int output_ = -1;
    int errors_ = -1;
};

// The tool runs in the home's folder, so files are named relatively.
class ToolTest : public testing::Test {
protected:
    ToolResult Run(const std::vector<std::string>& arguments, const std::string& input = "");
    // As a user whom permissions bind, also when the test is run by root.
    ToolResult RunBound(const std::vector<std::string>& arguments);
    // With standard error going to a file, a terminal for example.
    ToolResult RunWithErrorsTo(const std::string& errors,
                               const std::vector<std::string>& arguments);
    // With standard output going to a file; closed for "".
    ToolResult RunTo(const std::string& output, const std::vector<std::string>& arguments);

    std::string Read(const std::string& name) { return ReadFile(home_.Path(name)); }
    void Write(const std::string& name, const std::string& bytes) { home_.Write(name, bytes); }
    std::string Path(const std::string& name) { return home_.Path(name); }

    TempHome home_;
};

}  // namespace tvtest
