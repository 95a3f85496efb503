#include "tvtool/registry/RegistryFile.h"

#include "registry/CNWRegistry.h"
#include "streams/CMemoryStream.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/config/ApplicationVariables.h"
#include "vars/GlobalVars.h"

#include <algorithm>
#include <iostream>
#include <new>

namespace tvtool {

namespace {

// How many bytes of a long line are shown on each side of the fault.
constexpr std::size_t cShownBefore = 50;
constexpr std::size_t cShownAfter = 20;

// Returns the bytes of a line. Lines count from 1; LF, CR LF and CR each end one.
std::string_view lineOf(std::string_view text, long number) {
    while (true) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        if (--number == 0 || end == text.size()) {
            return number == 0 ? text.substr(0, end) : std::string_view();
        }
        text.remove_prefix(end + (text.substr(end, 2) == "\r\n" ? 2 : 1));
    }
}

std::size_t characters(std::string_view text) {
    return PlaceOf(text, text.size()).column - 1;
}

// Returns the part of a line around a place, with a caret below the place.
std::string excerpt(std::string_view line, std::size_t offset) {
    if (line.empty()) {
        return {};
    }
    const bool cutBefore = offset > cShownBefore;
    const std::size_t begin = cutBefore ? offset - cShownBefore : 0;
    const std::string before =
        (cutBefore ? "..." : "") + Printable(line.substr(begin, offset - begin));
    const std::string_view rest = line.substr(offset);
    const std::string after =
        Printable(rest.substr(0, cShownAfter)) + (rest.size() > cShownAfter ? "..." : "");
    return "    " + before + after + "\n    " + std::string(characters(before), ' ') + "^\n";
}

}  // namespace

RegistryFile::RegistryFile(const std::string& path)
    : name_(InputName(path)), bytes_(ReadInput(path)) {
    Tova::CMemoryStream stream(Tova::CStream::cTranslate, bytes_);
    isUnicode_ = stream.ReadUnicodeHeader();
    tree_.ReadFromStream(stream, report_);
    if (report_.lacksMemory) {
        throw std::bad_alloc();
    }
    Describe();
    unsigned long position = bytes_.size();
    if (IsSound()) {
        stream.GetPos(position);
    }
    size_ = position;
}

const char* RegistryFile::FormatName() const {
    return report_.format == Tova::RegFormat::Current ? "current" : "sectioned";
}

void RegistryFile::Describe() {
    if (isUnicode_) {
        problem_ = name_ + ": begins with a byte-order mark, so nothing of it is read; save it "
                           "as plain bytes without one";
    } else if (report_.problem != nullptr) {
        const std::string_view line = lineOf(bytes_, report_.position.line);
        const std::size_t offset =
            std::min(static_cast<std::size_t>(report_.position.column - 1), line.size());
        problem_ = At(name_, {.line = static_cast<std::size_t>(report_.position.line),
                              .column = characters(line.substr(0, offset)) + 1}) +
                   ": " + report_.problem + "; what follows is not read";
        excerpt_ = excerpt(line, offset);
    }
}

void RegistryFile::ReportProblem(Session& session) const {
    if (IsSound()) {
        return;
    }
    session.out.Flush();
    Complain(problem_);
    std::cerr << excerpt_ << std::flush;
    session.SetStatus(Exit::Damaged);
}

std::string RegistryFile::SharedPath() {
    SetApplicationVariables();
    Tova::CFSPath path;
    Tova::CString text;
    if (Tova::CNWRegistry::FindRegistry(path) < 0 || path.ToUnixPath(text) < 0) {
        const char* custom = Tova::GlobalVars.GetValue("NWRegistry");
        Fail(Exit::NotFound, "shared registry",
             custom == nullptr
                 ? "the machine-wide data folder cannot be used"
                 : "the variable NWRegistry is " + Quote(custom) +
                       "; it must begin with [MachineAppDataDir] or [UserAppDataDir]");
    }
    return text.CStr();
}

}  // namespace tvtool
