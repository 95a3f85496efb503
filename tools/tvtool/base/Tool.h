// What the commands of tvtool share: exit statuses, errors, output, and how arguments are declared.
// One thread uses all of this, except Complain, which is for any.
#pragma once

#include <CLI/CLI.hpp>

#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace tvtool {

enum class Exit : int {
    Done = 0,
    Failed = 1,  // or: what was compared differs
    Usage = 2,
    NotFound = 3,
    Damaged = 4,  // or invalid
    NotPermitted = 5,
    Network = 6,
};

// Ends a command. The message names its subject first, "FILE: what is wrong, and what to do", and
// may hold any bytes: what would disturb a terminal or a line is escaped when it is printed.
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
// The same for a system call: the status and the text are those of the error number.
[[noreturn]] void FailErrno(int error, const std::string& subject, const std::string& what);

// Prints "tvtool: MESSAGE" in one line on standard error.
void Complain(std::string_view message);

// Standard output, collected and written by Flush, which finds out about a full disk or a closed
// pipe. What is not flushed when a command fails is written all the same, before the error.
class Output {
public:
    Output& operator<<(std::string_view text) {
        text_ += text;
        return *this;
    }
    // Throws ToolError(Failed) when not everything could be written.
    void Flush();
    // Whether to colour: on a terminal, unless NO_COLOR is set.
    bool IsColoured() const;
    bool IsTerminal() const;
    // A text for programs, as it is, with a line end; escaped when a person's terminal gets it.
    void PrintValue(std::string_view text);

private:
    std::string text_;
};

// One run of the tool. A command's callback gets it from whoever declared the command, prints to
// `out`, and sets a status other than Done by SetStatus or by throwing a ToolError.
class Session {
public:
    Output out;
    void SetStatus(Exit status) { status_ = status; }
    Exit Status() const { return status_; }

private:
    Exit status_ = Exit::Done;
};

// Declaring arguments. CLI11's own conversions give a meaning to texts like "{}", "[a,b]" and "%%";
// these hand over what was typed. `target` must outlive the parsing: keep it in a shared_ptr that
// the command's callback captures.
CLI::Option* AddText(CLI::App& app, const std::string& name, std::string& target,
                     const std::string& description);
// An option that can be repeated, or a positional argument that takes all that are left.
CLI::Option* AddTexts(CLI::App& app, const std::string& name, std::vector<std::string>& target,
                      const std::string& description);
// Names the words, with blanks between them, that a shell offers for the option's value. The parser
// takes other texts too.
void OfferWords(CLI::Option& option, const std::string& words);
// Returns the words that OfferWords named for `option`, or "".
std::string OfferedWords(CLI::Option& option);
// What to give to the parser, in its order (the last argument first). Arguments that CLI11 would
// not take as they are (what comes after "--", an empty value after "=", "[a,b]", "++") are marked;
// the functions above take the mark away.
std::vector<std::string> ProtectArguments(int argc, char** argv);
// A sub-command; `example` is the last part of its help: whole command lines, one a line.
CLI::App* AddSubcommand(CLI::App& app, const std::string& name, const std::string& description,
                        const std::string& example);

// Each declares one command and its sub-commands. `session` outlives the parsing.
void AddConfigCommand(CLI::App& app, Session& session);
void AddApplyCommand(CLI::App& app, Session& session);
void AddDetailsCommand(CLI::App& app, Session& session);
void AddPrefsCommand(CLI::App& app, Session& session);
void AddRegistryCommand(CLI::App& app, Session& session);
void AddServeCommand(CLI::App& app, Session& session);

}  // namespace tvtool
