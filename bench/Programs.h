// Runs the child programs, which stand beside the benchmark programs.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

inline std::string ProgramPath(const std::string& name) {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

// Runs the program with `variable` added to its environment, to its end. Its output goes where ours
// goes.
inline void RunProgram(const std::string& path, const std::string& variable) {
    const char* const arguments[] = {path.c_str(), nullptr};
    std::vector<char*> environment{const_cast<char*>(variable.c_str())};
    for (char** inherited = environ; *inherited != nullptr; ++inherited) {
        environment.push_back(*inherited);
    }
    environment.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    if (posix_spawn(&child, path.c_str(), nullptr, nullptr, const_cast<char* const*>(arguments),
                    environment.data()) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("failed: " + path);
    }
}

// Runs a program that prints one line, and returns the line. Its standard input ends when
// `meanwhile`, which is called after the line has come, returns.
template <class Call>
std::string LineOf(const std::vector<std::string>& command, const Call& meanwhile) {
    int input[2], output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipes");
    }
    std::vector<char*> arguments;
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    pid_t child = 0;
    int status = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    std::string line;
    for (char c = 0; read(output[0], &c, 1) == 1 && c != '\n';) {
        line += c;
    }
    if (status == 0 && !line.empty()) {
        meanwhile();
    }
    close(input[1]);
    close(output[0]);
    if (status != 0 || waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("failed: " + command[0]);
    }
    return line;
}

}  // namespace bench
