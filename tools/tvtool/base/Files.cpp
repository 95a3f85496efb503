#include "tvtool/base/Files.h"

#include "tvtool/base/Tool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace tvtool {

namespace {

constexpr std::size_t cLargestInput = INT_MAX - 1;  // bytes

// Throws the ToolError of a file that cannot be read, or is of the wrong kind to be written.
[[noreturn]] void failFile(int error, const std::string& name, const std::string& what) {
    switch (error) {
    case EISDIR:
        Fail(Exit::Damaged, name, "is a folder; name a file");
    case tvposix::cNotRegularFile:
        Fail(Exit::Damaged, name, "is no regular file; use \"-\" for standard input or output");
    default:
        FailErrno(error, name, what);
    }
}

const char* messageOf(tvposix::ReplaceStep step) {
    switch (step) {
    case tvposix::ReplaceStep::Lock:
        return "is being edited by another program; try again";
    case tvposix::ReplaceStep::MakeFile:
        return "no file can be made in its folder";
    case tvposix::ReplaceStep::SetMode:
        return "cannot be given its mode";
    case tvposix::ReplaceStep::Rename:
        return "cannot be replaced";
    default:
        return "cannot be written";
    }
}

}  // namespace

std::string InputName(const std::string& path) {
    return path == "-" ? "standard input" : path;
}

std::string ReadInput(const std::string& path) {
    std::string bytes;
    const int error = path == "-" ? tvposix::ReadAll(STDIN_FILENO, cLargestInput, 4095, bytes)
                                  : tvposix::ReadFile(path, cLargestInput, bytes);
    if (error == EFBIG) {
        Fail(Exit::Failed, InputName(path), "is too large; the limit is 2 GiB");
    }
    if (error != 0) {
        failFile(error, InputName(path), "cannot be read");
    }
    return bytes;
}

OutputFile::OutputFile(const std::string& path) : path_(path) {
    if (path_ != "-") {
        file_.emplace(path_);
    }
}

void OutputFile::Write(std::string_view bytes) {
    if (!file_) {
        if (const int error = tvposix::WriteAll(STDOUT_FILENO, bytes); error != 0) {
            FailErrno(error, "standard output", "cannot be written");
        }
        return;
    }
    // Renaming would replace a file that may not be written to.
    if (faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT) {
        FailErrno(errno, path_, "may not be written to");
    }
    const auto [error, step] = file_->Finish(bytes);
    // The file is replaced before the last step, and some file systems refuse that one.
    if (error != 0 && step != tvposix::ReplaceStep::SyncFolder) {
        failFile(error, path_, messageOf(step));
    }
}

bool Exists(const std::string& path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0;
}

}  // namespace tvtool
