#include "tvtool/base/Colour.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Suggestions.h"
#include "tvtool/base/Tool.h"
#include "tvtool/commands/Completions.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>
#include <utility>

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

struct HelpOptions {
    std::vector<std::string> words;
    CLI::App* app = nullptr;
};

std::vector<std::string> commandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command :
         app.get_subcommands([](const CLI::App* it) { return !it->get_group().empty(); })) {
        names.push_back(command->get_name());
    }
    return names;
}

[[noreturn]] void failCommand(const CLI::App& app, const std::string& name, const std::string& word,
                              CFStringEncoding encoding = kCFStringEncodingUTF8) {
    throw ToolError(Exit::Usage, "there is no command " + Quote(name + " " + word, encoding) +
                                     Suggest(word, commandsOf(app)) + "; see '" + name +
                                     " --help'");
}

void showHelp(const HelpOptions& options, Session& session) {
    const CLI::App* command = options.app;
    std::string name = command->get_name();
    for (const std::string& word : options.words) {
        const std::vector<std::string> known = commandsOf(*command);
        if (std::find(known.begin(), known.end(), word) == known.end()) {
            failCommand(*command, name, word, CFStringGetSystemEncoding());
        }
        command = command->get_subcommand(word);
        name += " " + word;
    }
    // The command's own function would show the help of what was parsed, which is "help".
    session.out << command->get_formatter()->make_help(command, name, CLI::AppFormatMode::Normal);
}

struct NoOptions {};

void showVersion(const NoOptions&, Session& session) {
    session.out << "tvtool " << TVTOOL_VERSION << "\n";
}

void addColour(CLI::App& app) {
    const auto take = [](const CLI::results_t& results) {
        const std::string& word = results.front();
        const bool isKnown = word == "auto" || word == "always" || word == "never";
        if (!isKnown) {
            Fail(Exit::Usage, "--color " + Quote(word, kCFStringEncodingUTF8),
                 "is none of auto, always and never");
        }
        ChooseColour(word == "auto"     ? Colour::Auto
                     : word == "always" ? Colour::Always
                                        : Colour::Never);
        return true;
    };
    OfferWords(*app.add_option("--color", CLI::callback_t(take),
                               "Colour the output: on a terminal (auto), always or never")
                    ->type_name("WHEN"),
               "auto always never");
}

void declare(CLI::App& app, Session& session) {
    app.name("tvtool");
    app.set_help_flag("-h,--help", "Show this help");
    app.set_version_flag("--version", std::string("tvtool ") + TVTOOL_VERSION, "Show the version");
    addColour(app);
    app.require_subcommand(1);
    // So that --color may stand behind the command too.
    app.fallthrough();
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
    const auto help = AddCommand<HelpOptions>(
        app, session, "help", showHelp, "Shows the help of a command", "  tvtool help config set");
    help.options.app = &app;
    AddTexts(help.app, "COMMAND", help.options.words, "The command's words; all without them");
    AddCommand<NoOptions>(app, session, "version", showVersion, "Shows the version",
                          "  tvtool version");
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

// Says which of the arguments that nobody took is wrong, and why.
std::string describeUnknown(const CLI::App& command, const std::vector<std::string>& unknown) {
    const auto option = std::find_if(unknown.begin(), unknown.end(), [](const std::string& it) {
        return it.size() > 1 && it.starts_with('-');
    });
    if (option != unknown.end()) {
        std::vector<std::string> known;
        for (const CLI::Option* it : command.get_options()) {
            for (const std::string& spelling : it->get_lnames()) {
                known.push_back("--" + spelling);
            }
        }
        const std::string name = option->substr(0, option->find('='));
        return "there is no option " + Quote(name, kCFStringEncodingUTF8) + Suggest(name, known);
    }
    std::string words;
    for (const std::string& word : unknown) {
        words += " " + Quote(word, kCFStringEncodingUTF8);
    }
    return (unknown.size() == 1 ? "there is an argument too many:"
                                : "there are arguments too many:") +
           words;
}

Exit answerParser(const CLI::App& app, const CLI::ParseError& error, Session& session) {
    std::ostringstream help, ignored;
    if (app.exit(error, help, ignored) == 0) {
        session.out << help.str();
        return Exit::Done;
    }
    std::string name;
    const CLI::App& command = findCommand(app, name);
    // What a command does not take goes up to the tool itself.
    const std::vector<std::string> unknown = app.remaining(true);
    std::string what = error.what();
    if (!unknown.empty() && !unknown[0].starts_with('-') && !commandsOf(command).empty()) {
        failCommand(command, name, unknown[0]);
    }
    if (!unknown.empty()) {
        what = describeUnknown(command, unknown);
    } else if (error.get_name() == "RequiredError" && !commandsOf(command).empty()) {
        what = "a command is missing";
    } else if (error.get_name() == "ArgumentMismatch" && what.ends_with("missing")) {
        what = what.substr(0, what.find(':')) + " needs a value";
    }
    Complain(what + "; see '" + name + " --help'");
    return Exit::Usage;
}

// Tells of an error; one without a message needs no words.
Exit answerError(const ToolError& error) {
    if (*error.what() != '\0') {
        Complain(error.what());
    }
    return error.Status();
}

Exit Run(int argc, char** argv) {
    Session session;
    Exit status = Exit::Done;
    CLI::App app("Looks into and edits what TVframework works with.");
    try {
        declare(app, session);
        CheckSystemEncoding();
        try {
            app.parse(ProtectArguments(argc, argv));
            status = session.Status();
        } catch (const CLI::ParseError& error) {
            status = answerParser(app, error, session);
        }
    } catch (const ToolError& error) {
        try {
            session.out.Flush();
        } catch (const ToolError& unwritten) {
            answerError(unwritten);
        }
        status = answerError(error);
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
            status = tvtool::answerError(error);
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
