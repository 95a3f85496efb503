#include "tvtool/base/Tool.h"

#include "posix/Files.h"
#include "tvtool/base/Colour.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/PlatformText.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace tvtool {

namespace {

Exit statusOf(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return Exit::NotFound;
    case EACCES:
    case EPERM:
    case EROFS:
        return Exit::NotPermitted;
    default:
        return Exit::Failed;
    }
}

// Marks an argument to which CLI11 would give a meaning of its own.
constexpr char cProtection = '\x01';

std::string unprotect(const std::string& argument) {
    return argument.starts_with(cProtection) ? argument.substr(1) : argument;
}

std::string readArgument(const std::string& typed, const CLI::Option& option) {
    const std::string argument = unprotect(typed);
    return TakesFile(option) ? argument : ArgumentText(argument);
}

}  // namespace

void Fail(Exit status, const std::string& subject, const std::string& what) {
    throw ToolError(status, subject + ": " + what);
}

void FailErrno(int error, const std::string& subject, const std::string& what) {
    Fail(statusOf(error), subject, what + ": " + std::strerror(error));
}

void Complain(std::string_view message) {
    // If even this cannot be written, there is nobody left to tell.
    static_cast<void>(tvposix::WriteAll(STDERR_FILENO, "tvtool: " + Printable(message) + "\n"));
}

void CheckSystemEncoding() {
    const char* named = std::getenv("TV_SYSTEM_ENCODING");
    const StringRef name = DecodeText(named != nullptr ? named : "", kCFStringEncodingUTF8);
    if (named != nullptr && *named != '\0' &&
        (!name ||
         CFStringConvertIANACharSetNameToEncoding(name.Get()) != CFStringGetSystemEncoding())) {
        Complain("TV_SYSTEM_ENCODING " + Quote(named) +
                 ": no 8-bit encoding has this name; the default is used");
    }
}

void Output::Flush() {
    const std::string text = std::move(text_);
    text_.clear();
    const int error = tvposix::WriteAll(STDOUT_FILENO, text);
    if (error == EPIPE) {
        // The reader has seen enough.
        throw ToolError(Exit::Failed, "");
    }
    if (error != 0) {
        Fail(Exit::Failed, "standard output", std::strerror(error));
    }
}

bool Output::IsTerminal() const {
    return isatty(STDOUT_FILENO) == 1;
}

void Output::PrintValue(std::string_view text, CFStringEncoding encoding) {
    *this << (!IsTerminal()                       ? std::string(text)
              : encoding == kCFStringEncodingUTF8 ? Escape(text)
                                                  : EscapeSystem(text))
          << "\n";
}

bool IsColourOff() {
    const auto isSet = [](const char* setting) { return setting != nullptr && *setting != '\0'; };
    const char* terminal = std::getenv("TERM");
    return ChosenColour() == Colour::Never ||
           (ChosenColour() == Colour::Auto &&
            (isSet(std::getenv("NO_COLOR")) ||
             (terminal != nullptr && std::string_view(terminal) == "dumb")));
}

bool Output::IsColoured() const {
    return ChosenColour() == Colour::Always || (IsTerminal() && !IsColourOff());
}

std::string ArgumentText(const std::string& typed) {
    const CFStringEncoding system = CFStringGetSystemEncoding();
    if (system == kCFStringEncodingUTF8) {
        return typed;
    }
    const StringRef text = DecodeText(typed, kCFStringEncodingUTF8);
    const std::optional<std::string> bytes = text ? EncodeText(text.Get(), system) : std::nullopt;
    if (!bytes) {
        Fail(Exit::Usage, Quote(typed, kCFStringEncodingUTF8),
             text ? "has a character that the system encoding does not have; "
                    "TV_SYSTEM_ENCODING names another"
                  : "is not UTF-8");
    }
    return *bytes;
}

CLI::Option* AddText(CLI::App& app, const std::string& name, std::string& target,
                     const std::string& description) {
    const auto option = std::make_shared<CLI::Option*>();
    *option =
        app.add_option(name, CLI::callback_t([&target, option](const CLI::results_t& results) {
                           target = readArgument(results.front(), **option);
                           return true;
                       }),
                       description);
    return *option;
}

CLI::Option* AddTexts(CLI::App& app, const std::string& name, std::vector<std::string>& target,
                      const std::string& description) {
    const auto self = std::make_shared<CLI::Option*>();
    CLI::Option* option = *self =
        app.add_option(name, CLI::callback_t([&target, self](const CLI::results_t& results) {
                           target.clear();
                           for (const std::string& typed : results) {
                               target.push_back(readArgument(typed, **self));
                           }
                           return true;
                       }),
                       description);
    option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    if (option->get_positional()) {
        // Many positional arguments are possible only together with taking "[a,b]" apart.
        return option->expected(1, -1)->allow_extra_args();
    }
    return option->allow_extra_args(false);
}

bool TakesFile(const CLI::Option& option) {
    // A key is a file only together with its certificate.
    static const std::vector<std::string> cFiles = {"FILE", "FILE2", "OUT", "DIR", "CERT KEY"};
    const std::string name =
        option.get_positional() ? option.get_name(true) : option.get_type_name();
    return std::find(cFiles.begin(), cFiles.end(), name) != cFiles.end() ||
           (name == "TEXT" && option.get_positional());
}

// The words are the name of a check that refuses nothing: the parser has no other place for them.
void OfferWords(CLI::Option& option, const std::string& words) {
    option.check([](const std::string&) { return std::string(); }, "", words);
}

std::string OfferedWords(CLI::Option& option) {
    try {
        return option.get_validator(0)->get_name();
    } catch (const CLI::OptionNotFound&) {
        return "";
    }
}

std::vector<std::string> ProtectArguments(int argc, char** argv) {
    std::vector<std::string> arguments;
    bool isAfterOptions = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        if (!isAfterOptions && argument == "--") {
            isAfterOptions = true;
        } else if (!isAfterOptions && argument.starts_with("--") && equals != argument.npos &&
                   (equals + 1 == argument.size() || argument[equals + 1] == cProtection)) {
            arguments.push_back(argument.substr(0, equals));
            arguments.push_back(cProtection + argument.substr(equals + 1));
        } else if (isAfterOptions || argument.starts_with('[') || argument == "++" ||
                   argument.starts_with(cProtection)) {
            arguments.push_back(cProtection + argument);
        } else {
            arguments.push_back(argument);
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

CLI::App* AddSubcommand(CLI::App& app, const std::string& name, const std::string& description,
                        const std::string& example) {
    CLI::App* command = app.add_subcommand(name, description);
    command->footer("Example:\n" + example);
    return command;
}

}  // namespace tvtool
