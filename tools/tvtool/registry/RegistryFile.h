// A registry file as the framework reads it, and where it breaks the rules.
#pragma once

#include "registry/CRegistry.h"
#include "registry/RegParser.h"
#include "tvtool/base/Tool.h"

#include <string>

namespace tvtool {

class RegistryFile {
public:
    // Reads a whole file; "-" is standard input. Throws ToolError if the file cannot be read. A
    // fault in its text does not throw.
    explicit RegistryFile(const std::string& path);

    // Returns the name of the file in messages.
    const std::string& Name() const { return name_; }
    const Tova::CRegDir& Tree() const { return tree_; }
    const char* FormatName() const;
    Tova::RegFormat Format() const { return report_.format; }
    const std::string& Bytes() const { return bytes_; }
    // Returns how many bytes the registry takes. Those behind them are not read. It is all bytes if
    // the text is at fault.
    std::size_t Size() const { return size_; }
    // Returns true if all of it was read. Otherwise the tree holds the entries before the fault.
    bool IsSound() const { return problem_.empty(); }
    // Returns a message with file, line and column that tells the fault.
    const std::string& Problem() const { return problem_; }
    // Writes the output so far, then complains about the fault and shows the line with a caret
    // below the place. Sets the session's status to that of a damaged file. Does nothing for a
    // sound file.
    void ReportProblem(Session& session) const;

    // Returns the file that the framework reads on this machine. Throws ToolError if there can be
    // none.
    static std::string SharedPath();

private:
    void Describe();

    std::string name_;
    std::string bytes_;
    std::size_t size_ = 0;
    bool isUnicode_ = false;
    Tova::CMemRegistry tree_;
    Tova::RegReadReport report_;
    std::string problem_;
    std::string excerpt_;  // one or two lines, or empty
};

}  // namespace tvtool
