// Reading and writing whole files. Every failure is a ToolError that names the file, with the exit
// status that belongs to it. "-" stands for standard input and standard output.
#pragma once

#include <string>
#include <string_view>

namespace tvtool {

// How messages call `path`: "standard input" for "-".
std::string InputName(const std::string& path);

// The bytes of a regular file, or of standard input whatever that is. Refuses anything else
// (Damaged) without waiting for it: a folder, a FIFO, a device; and what is 2 GiB or larger.
std::string ReadInput(const std::string& path);

// Replaces the file, or makes it (with the mode that the umask allows), so that at every moment
// either the old or the new bytes stand there: they are written beside it, synchronised, and
// renamed over it. Follows symbolic links and keeps mode and, where permitted, owner and group.
// Refuses to replace what is no regular file, or may not be written to.
void WriteOutput(const std::string& path, std::string_view bytes);

bool Exists(const std::string& path);

}  // namespace tvtool
