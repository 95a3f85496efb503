#include "tests/tvtool/ToolRunner.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ostream>
#include <thread>
#include <utility>

namespace tvtest {

namespace {

// Standard streams are files, so that nobody waits for anybody.
pid_t Spawn(const std::vector<std::string>& arguments, const std::string& folder,
            const std::string& input, const std::string& output, const std::string& errors) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY, 0);
    const int create = O_WRONLY | O_CREAT | O_TRUNC;
    if (output.empty()) {
        posix_spawn_file_actions_addclose(&actions, 1);
    } else {
        posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), create, 0600);
    }
    posix_spawn_file_actions_addopen(&actions, 2, errors.c_str(), create, 0600);

    std::vector<std::string> words = {"tvtool"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, TVTOOL_FILE, &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

int Wait(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace

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

ToolResult ToolTest::Run(const std::vector<std::string>& arguments, const std::string& input) {
    const TempDir streams;
    const std::string in = streams.Write("in", input);
    const pid_t pid = Spawn(arguments, home_.Path(), in, streams.Path("out"), streams.Path("err"));
    const int status = Wait(pid);
    return {status, ReadFile(streams.Path("out")), ReadFile(streams.Path("err"))};
}

ToolResult ToolTest::RunTo(const std::string& output, const std::vector<std::string>& arguments) {
    const TempDir streams;
    const pid_t pid = Spawn(arguments, home_.Path(), "/dev/null", output, streams.Path("err"));
    const int status = Wait(pid);
    return {status, "", ReadFile(streams.Path("err"))};
}

ToolResult ToolTest::RunWithErrorsTo(const std::string& errors,
                                     const std::vector<std::string>& arguments) {
    const TempDir streams;
    const pid_t pid = Spawn(arguments, home_.Path(), "/dev/null", streams.Path("out"), errors);
    const int status = Wait(pid);
    return {status, ReadFile(streams.Path("out")), ""};
}

BackgroundTool::BackgroundTool(const std::vector<std::string>& arguments, const std::string& folder,
                               const std::string& input) {
    int output[2];
    int errors[2];
    EXPECT_EQ(pipe2(output, O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(errors, O_CLOEXEC), 0);
    output_ = output[0];
    errors_ = errors[0];
    // The child opens its own descriptors anew before it becomes the tool.
    const std::string own = "/proc/self/fd/";
    pid_ = Spawn(arguments, folder, input, own + std::to_string(output[1]),
                 own + std::to_string(errors[1]));
    close(output[1]);
    close(errors[1]);
}

BackgroundTool::~BackgroundTool() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        tvtest::Wait(pid_);
    }
    close(output_);
    close(errors_);
}

void BackgroundTool::Signal(int number) {
    EXPECT_EQ(kill(pid_, number), 0);
}

bool BackgroundTool::ReadByte(int stream, char& byte) {
    pollfd polled = {stream, POLLIN, 0};
    if (poll(&polled, 1, 60'000) != 1) {
        ADD_FAILURE() << "nothing more came";
        return false;
    }
    return read(stream, &byte, 1) == 1;
}

std::string BackgroundTool::ReadLine(int stream) {
    std::string line;
    for (char byte = 0; ReadByte(stream, byte) && byte != '\n';) {
        line += byte;
    }
    return line;
}

std::string BackgroundTool::ReadAll(int stream) {
    std::string text;
    for (char byte = 0; ReadByte(stream, byte);) {
        text += byte;
    }
    return text;
}

ToolResult BackgroundTool::Wait() {
    ToolResult result;
    result.out = ReadAll(output_);
    result.err = ReadAll(errors_);
    if (testing::Test::HasFailure()) {
        kill(pid_, SIGKILL);  // It may never end.
    }
    result.status = tvtest::Wait(pid_);
    pid_ = -1;
    return result;
}

ToolResult ToolTest::RunBound(const std::vector<std::string>& arguments) {
    ToolResult result;
    // What is dropped is gone for the thread and whom it starts, and for nobody else.
    std::thread bound([&] {
        if (geteuid() == 0) {
            EXPECT_EQ(prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE), 0);
            EXPECT_EQ(prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH), 0);
        }
        result = Run(arguments);
    });
    bound.join();
    return result;
}

}  // namespace tvtest
