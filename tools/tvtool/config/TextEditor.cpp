#include "tvtool/config/TextEditor.h"

#include "posix/Descriptor.h"
#include "posix/Files.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <new>

namespace tvtool {

namespace {

// Only this user may read the copy.
std::string makeCopy(const std::string& text) {
    const char* folder = secure_getenv("TMPDIR");
    std::string path =
        std::string(folder == nullptr || *folder == '\0' ? "/tmp" : folder) + "/tvtool-XXXXXX.txt";
    const tvposix::Descriptor file(mkostemps(path.data(), 4, O_CLOEXEC));
    int error = file ? 0 : errno;
    if (file) {
        fchmod(file.Get(), 0600);  // whatever the umask is
        error = tvposix::WriteAll(file.Get(), text);
    }
    if (error != 0) {
        if (file) {
            unlink(path.c_str());
        }
        FailErrno(error, path, "cannot be written");
    }
    return path;
}

void runEditor(const std::string& path) {
    const char* named = std::getenv("EDITOR");
    const std::string editor = named == nullptr || *named == '\0' ? "vi" : named;
    setenv("TVTOOL_TEXT", path.c_str(), 1);
    // A program that is started inherits what is ignored.
    const auto onPipe = std::signal(SIGPIPE, SIG_DFL);
    const auto onSize = std::signal(SIGXFSZ, SIG_DFL);
    // The setting may hold options, so a shell takes it apart.
    const int status = std::system((editor + " \"$TVTOOL_TEXT\"").c_str());
    std::signal(SIGPIPE, onPipe);
    std::signal(SIGXFSZ, onSize);
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
    const std::string kept = path + ": holds your changes, which were not taken";
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
            throw ToolError(error.Status(),
                            error.Status() == Exit::Damaged ? kept : kept + "; " + error.what());
        } catch (const std::bad_alloc&) {
            Complain(kept);
            throw;
        }
    }
    unlink(path.c_str());
}

}  // namespace tvtool
