// What the commands of tvtool share: exit statuses, errors, output, and the declaration of
// arguments. One thread uses all of this; any thread may use Complain.
#pragma once

#include <CLI/CLI.hpp>
#include <CoreFoundation/CoreFoundation.h>

#include <charconv>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tvtool {

enum class Exit : int {
    Done = 0,
    Failed = 1,  // or two things that were compared differ
    Usage = 2,
    NotFound = 3,
    Damaged = 4,  // or invalid
    NotPermitted = 5,
    Network = 6,
};

// Ends a command. The message names its subject first, "FILE: what is wrong, and what to do". It
// may hold any bytes: characters that would disturb a terminal or a line are escaped when it is
// printed.
class ToolError : public std::exception {
public:
    ToolError(Exit status, std::string message) : status_(status), message_(std::move(message)) {}
    Exit Status() const { return status_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    Exit status_;
    std::string message_;
};

[[noreturn]] void Fail(Exit status, const std::string& subject, const std::string& what);
// Fails for a system call, with the status and the text of the error number.
[[noreturn]] void FailErrno(int error, const std::string& subject, const std::string& what);

// Complains if TV_SYSTEM_ENCODING names an encoding that the platform does not know.
void CheckSystemEncoding();

// Prints "tvtool: MESSAGE" in one line on standard error.
void Complain(std::string_view message);

// Returns true if no terminal gets colours.
bool IsColourOff();

// Collects standard output. Flush writes it, and finds out about a full disk or a closed pipe. If a
// command fails, the output so far is written before the error.
class Output {
public:
    Output& operator<<(std::string_view text) {
        text_ += text;
        return *this;
    }
    // Throws ToolError (Failed) if not all is written; without a message for a broken pipe.
    void Flush();
    // Returns true if the output gets colours (see Colour.h).
    bool IsColoured() const;
    bool IsTerminal() const;
    // Prints a text in the system encoding or in UTF-8, and a line end. A program gets the text as
    // it is, a terminal gets it escaped.
    void PrintValue(std::string_view text, CFStringEncoding encoding = kCFStringEncodingUTF8);

private:
    std::string text_;
};

// One run of the tool. A command prints to `out`. It sets a status other than Done by SetStatus, or
// by throwing a ToolError.
class Session {
public:
    Output out;
    void SetStatus(Exit status) { status_ = status; }
    Exit Status() const { return status_; }

private:
    Exit status_ = Exit::Done;
};

// CLI11's own conversions give a meaning to texts like "{}", "[a,b]" and "%%"; these two functions
// hand over what was typed. What names no file is taken for UTF-8 and handed over in the system
// encoding; a text that this cannot hold ends the tool with Exit::Usage. `target` must outlive the
// parsing.
CLI::Option* AddText(CLI::App& app, const std::string& name, std::string& target,
                     const std::string& description);
// Returns a text that was typed in UTF-8 in the system encoding, as AddText does.
std::string ArgumentText(const std::string& typed);
// Declares an option that can be repeated, or a positional argument that takes all that are left.
CLI::Option* AddTexts(CLI::App& app, const std::string& name, std::vector<std::string>& target,
                      const std::string& description);
// Returns true if the option's value, as its name in the help tells, is a file or a folder.
bool TakesFile(const CLI::Option& option);
// Names the words, with blanks between them, that a shell offers for the option's value. The parser
// takes other texts too.
void OfferWords(CLI::Option& option, const std::string& words);
// Returns the words that OfferWords named for `option`, or "".
std::string OfferedWords(CLI::Option& option);
// Returns the arguments in the parser's order (the last one first). Some arguments would not reach
// a command as they are: those after "--", an empty value after "=", "[a,b]", "++". They get a
// mark, which AddText and AddTexts remove.
std::vector<std::string> ProtectArguments(int argc, char** argv);

// Returns the whole number in `text`, or nullopt if it is no number from `least` to `most`.
template <class Number>
std::optional<Number> ParseNumber(std::string_view text, Number least, Number most) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
    const bool isValid =
        error == std::errc() && end == text.end() && number >= least && number <= most;
    return isValid ? std::optional(number) : std::nullopt;
}

// Declares a sub-command. `example` is the last part of its help: whole command lines, one a line.
CLI::App* AddSubcommand(CLI::App& app, const std::string& name, const std::string& description,
                        const std::string& example);

template <class Options>
struct Command {
    CLI::App& app;
    Options& options;  // The command owns it.
};
// Declares a sub-command that calls `action` with its options. `session` outlives the parsing.
template <class Options>
Command<Options> AddCommand(CLI::App& parent, Session& session, const std::string& name,
                            void (*action)(const Options&, Session&),
                            const std::string& description, const std::string& example) {
    CLI::App* app = AddSubcommand(parent, name, description, example);
    const auto options = std::make_shared<Options>();
    app->callback([action, options, &session] { action(*options, session); });
    return {*app, *options};
}

// Each declares one command and its sub-commands. `session` outlives the parsing.
void AddConfigCommand(CLI::App& app, Session& session);
void AddApplyCommand(CLI::App& app, Session& session);
void AddDetailsCommand(CLI::App& app, Session& session);
void AddPrefsCommand(CLI::App& app, Session& session);
void AddRegistryCommand(CLI::App& app, Session& session);
void AddDoctorCommand(CLI::App& app, Session& session);
void AddServeCommand(CLI::App& app, Session& session);

}  // namespace tvtool
