#include "tvtool/config/TextEditor.h"

#include "posix/Descriptor.h"
#include "posix/Files.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>

namespace tvtool {

namespace {

// Only this user may read the copy.
std::string makeCopy(const std::string& text) {
    const char* folder = secure_getenv("TMPDIR");
    std::string path =
        std::string(folder == nullptr || *folder == '\0' ? "/tmp" : folder) + "/tvtool-XXXXXX.txt";
    const tvposix::Descriptor file(mkostemps(path.data(), 4, O_CLOEXEC));
    const int error = file ? tvposix::WriteAll(file.Get(), text) : errno;
    if (error != 0) {
        FailErrno(error, path, "cannot be written");
    }
    return path;
}

void runEditor(const std::string& path) {
    const char* named = std::getenv("EDITOR");
    const std::string editor = named == nullptr || *named == '\0' ? "vi" : named;
    setenv("TVTOOL_TEXT", path.c_str(), 1);
    // A program that is started inherits what is ignored.
    const auto handler = std::signal(SIGPIPE, SIG_DFL);
    // The setting may hold options, so a shell takes it apart.
    const int status = std::system((editor + " \"$TVTOOL_TEXT\"").c_str());
    std::signal(SIGPIPE, handler);
    if (status != 0) {
        unlink(path.c_str());
        Fail(Exit::Failed, editor, "failed, so nothing was changed; EDITOR names another editor");
    }
}

bool isEditedAgain() {
    if (isatty(STDIN_FILENO) == 0) {
        return false;
    }
    std::cerr << "Edit it again? [Y/n] " << std::flush;
    std::string answer;
    return std::getline(std::cin, answer) && !answer.starts_with('n') && !answer.starts_with('N');
}

}  // namespace

void EditText(const std::string& text,
              const std::function<void(const std::string&, const std::string&)>& take) {
    const std::string path = makeCopy(text);
    for (;;) {
        runEditor(path);
        try {
            take(ReadInput(path), path);
            break;
        } catch (const ToolError& error) {
            if (error.Status() == Exit::Damaged) {
                Complain(error.what());
                if (isEditedAgain()) {
                    continue;
                }
            }
            throw ToolError(
                error.Status(),
                path + ": holds your changes, which were not taken" +
                    (error.Status() == Exit::Damaged ? "" : std::string("; ") + error.what()));
        }
    }
    unlink(path.c_str());
}

}  // namespace tvtool
