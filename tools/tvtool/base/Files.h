// Reading and writing whole files. Every failure is a ToolError that names the file and has the
// exit status of the error. "-" stands for standard input and standard output.
#pragma once

#include "posix/Files.h"

#include <optional>
#include <string>
#include <string_view>

namespace tvtool {

// Returns the name of `path` in messages: "standard input" for "-".
std::string InputName(const std::string& path);

// Returns the bytes of a regular file, or of standard input of any kind. Refuses everything else
// (a folder, a FIFO, a device: Damaged) without waiting for it, and 2 GiB or more.
std::string ReadInput(const std::string& path);

// A file, or standard output, that is written as a whole. From the construction to the end of the
// object no other process edits the file with this class, so nothing is lost if it is read in
// between. One thread may use it.
class OutputFile {
public:
    // Waits up to 10 s for others. A failure waits for Write.
    explicit OutputFile(const std::string& path);

    // Replaces the file, or makes it with the mode that the umask allows. Every moment sees the old
    // bytes or the new ones. Follows symbolic links and keeps the mode and, if permitted, owner and
    // group. Refuses to replace anything but a regular file that the user may write to. Call this
    // once.
    void Write(std::string_view bytes);

private:
    const std::string path_;
    // Standard output has none.
    std::optional<tvposix::Replacement> file_;
};

bool Exists(const std::string& path);

}  // namespace tvtool
