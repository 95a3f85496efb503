#include "tvtool/base/Tool.h"
#include "tvtool/commands/Completions.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>

namespace tvtool {
namespace {

// Tells that memory is lacking, and needs none itself.
void complainOfMemory() {
    constexpr std::string_view message = "tvtool: there is not enough memory for this\n";
    static_cast<void>(!write(STDERR_FILENO, message.data(), message.size()));
}

// Ends the tool where no caller can catch the lack of memory: the JSON library needs some in its
// destructors.
[[noreturn]] void onTerminate() {
    try {
        if (std::current_exception()) {
            throw;
        }
    } catch (const std::bad_alloc&) {
        complainOfMemory();
        _exit(static_cast<int>(Exit::Failed));
    } catch (...) {
    }
    __gnu_cxx::__verbose_terminate_handler();
    std::abort();
}

// Keeps a file that is opened later from becoming a standard stream that the caller closed.
void occupyStandardStreams() {
    for (int fd = 0; fd <= 2; ++fd) {
        if (fcntl(fd, F_GETFD) < 0) {
            // Opened the wrong way round, so that using it fails as on a closed one.
            open("/dev/null", fd == 0 ? O_WRONLY : O_RDONLY);
        }
    }
}

void declare(CLI::App& app, Session& session) {
    app.name("tvtool");
    app.set_help_flag("-h,--help", "Show this help");
    app.set_version_flag("--version", std::string("tvtool ") + TVTOOL_VERSION, "Show the version");
    app.require_subcommand(1);
    app.footer("Each command has its own help: tvtool config set --help\n"
               "\n"
               "Example:\n"
               "  tvtool config show Calyx.nwc\n"
               "\n"
               "Exit status: 0 done, 1 failed or different, 2 wrong usage, 3 not found,\n"
               "4 damaged or invalid, 5 not permitted, 6 network.");
    AddConfigCommand(app, session);
    AddApplyCommand(app, session);
    AddDetailsCommand(app, session);
    AddPrefsCommand(app, session);
    AddRegistryCommand(app, session);
    AddDoctorCommand(app, session);
    AddServeCommand(app, session);
    AddCompletionsCommand(app, session);
}

// The innermost command that was named, and how it was typed.
const CLI::App& findCommand(const CLI::App& app, std::string& name) {
    const CLI::App* command = &app;
    for (name = app.get_name(); !command->get_subcommands().empty();) {
        command = command->get_subcommands().front();
        name += " " + command->get_name();
    }
    return *command;
}

Exit answerParser(const CLI::App& app, const CLI::ParseError& error, Session& session) {
    std::ostringstream help, ignored;
    if (app.exit(error, help, ignored) == 0) {
        session.out << help.str();
        return Exit::Done;
    }
    std::string name;
    const std::vector<std::string> unknown = findCommand(app, name).remaining();
    std::string what = error.what();
    if (error.get_name() == "RequiredError" && !unknown.empty() && !unknown[0].starts_with('-')) {
        what = "there is no command \"" + name + " " + unknown[0] + "\"";
    } else if (error.get_name() == "ArgumentMismatch" && what.ends_with("missing")) {
        what = what.substr(0, what.find(':')) + " needs a value";
    }
    Complain(what + "; see '" + name + " --help'");
    return Exit::Usage;
}

Exit Run(int argc, char** argv) {
    Session session;
    Exit status = Exit::Done;
    CLI::App app("Looks into and edits what TVframework works with.");
    try {
        declare(app, session);
        app.parse(ProtectArguments(argc, argv));
        status = session.Status();
    } catch (const CLI::ParseError& error) {
        status = answerParser(app, error, session);
    } catch (const ToolError& error) {
        status = error.Status();
        try {
            session.out.Flush();
        } catch (const ToolError& unwritten) {
            Complain(unwritten.what());
        }
        Complain(error.what());
    }
    session.out.Flush();
    return status;
}

}  // namespace
}  // namespace tvtool

int main(int argc, char** argv) {
    using tvtool::Exit;
    tvtool::occupyStandardStreams();
    std::set_terminate(tvtool::onTerminate);
    // A write that fails says so in its result.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        Exit status = Exit::Failed;
        try {
            status = tvtool::Run(argc, argv);
        } catch (const tvtool::ToolError& error) {
            tvtool::Complain(error.what());
            status = error.Status();
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            tvtool::Complain(error.what());
        }
        return static_cast<int>(status);
    } catch (const std::bad_alloc&) {
        tvtool::complainOfMemory();
        return static_cast<int>(Exit::Failed);
    }
}
