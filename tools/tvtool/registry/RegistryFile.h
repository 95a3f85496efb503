// A registry file as the framework reads it, and where it breaks the rules.
#pragma once

#include "registry/CRegistry.h"
#include "registry/RegParser.h"
#include "tvtool/base/Tool.h"

#include <string>

namespace tvtool {

class RegistryFile {
public:
    // Reads a file ("-": standard input) whole. Throws ToolError when that is not possible; what
    // its text lacks is no reason.
    explicit RegistryFile(const std::string& path);

    // How messages call the file.
    const std::string& Name() const { return name_; }
    const Tova::CRegDir& Tree() const { return tree_; }
    const char* FormatName() const;
    // Whether all of it was read; otherwise the tree holds what stands before the fault.
    bool IsSound() const { return problem_.empty(); }
    // What is wrong, as a message with file, line and column.
    const std::string& Problem() const { return problem_; }
    // Complains about the fault, shows the line with a caret below the place, and makes the
    // session's status that of a damaged file. Nothing for a sound file. Output comes first.
    void ReportProblem(Session& session) const;

    // The file that the framework reads on this machine. Throws ToolError when there can be none.
    static std::string SharedPath();

private:
    void Describe(Tova::RStatus status);

    std::string name_;
    std::string bytes_;
    bool isUnicode_ = false;
    Tova::CMemRegistry tree_;
    Tova::RegReadReport report_;
    std::string problem_;
    std::string excerpt_;  // one or two lines, or empty
};

}  // namespace tvtool
