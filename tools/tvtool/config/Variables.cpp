#include "tvtool/config/Variables.h"

#include "interface/AppVariables.h"
#include "streams/CMemoryStream.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"
#include "vars/GlobalVars.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

namespace tvtool {

using Damage = Tova::ConfigFileReport::Damage;

void DecodeConfig(std::string bytes, Tova::CVarList& list, Tova::ConfigFileReport& report) {
    Tova::CMemoryStream stream(Tova::cConfigFileReadFlags, bytes);
    // The report tells more than the status, which also accepts a file without its last byte.
    static_cast<void>(Tova::ReadConfiguration(stream, list, &report));
}

std::string DescribeDamage(const Tova::ConfigFileReport& report) {
    switch (report.damage) {
    case Damage::None:
        return {};
    case Damage::Unreadable:
        return "cannot be read";
    case Damage::NoHeader:
        return report.header.IsEmpty() ? "no header: the file is empty, or no configuration file"
                                       : "no header: this is no configuration file";
    case Damage::OtherHeader:
        return "another header: " + Quote(report.header.CStr()) + " in place of " +
               Quote(Tova::cConfigFileHeader);
    case Damage::CutOff:
        return "cut off: the file ends early; get a complete copy";
    case Damage::CheckValueDiffers:
        return "check value differs: the file says " + std::to_string(report.stored) +
               ", its contents sum to " + std::to_string(report.computed);
    }
    return {};
}

void ReadConfig(const std::string& path, Tova::CVarList& list) {
    Tova::ConfigFileReport report;
    DecodeConfig(ReadInput(path), list, report);
    if (report.damage != Damage::None) {
        Fail(Exit::Damaged, InputName(path), DescribeDamage(report));
    }
}

std::string EncodeConfig(const Tova::CVarList& list) {
    std::string bytes;
    Tova::CMemoryStream stream(Tova::cConfigFileWriteFlags, bytes);
    if (!Tova::WriteConfiguration(stream, list)) {
        throw std::bad_alloc();
    }
    return bytes;
}

void SetVariable(Tova::CVarList& list, const std::string& name, const std::string& value,
                 bool fixed) {
    // With a "%" in front, one of the name's own stays.
    list.SetValue(fixed ? ("%" + name).c_str() : name.c_str(), value.c_str(), false);
}

void CopyVariables(const Tova::CVarList& from, Tova::CVarList& to) {
    for (const Tova::CVar* var = from.First(); var != nullptr; var = var->Next()) {
        SetVariable(to, var->Name(), var->Value(), var->IsFixed());
    }
}

std::string ReasonNotToStore(std::string_view name, bool fixed) {
    if (!fixed && name.empty()) {
        return "an empty name can only be stored as that of a fixed variable, %=VALUE";
    }
    if (!fixed && name.front() == '%') {
        return "a name that begins with \"%\" can only be stored as that of a fixed variable";
    }
    return {};
}

std::string FindOwnConfiguration() {
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };
    const std::unique_ptr<char, Free> self(realpath("/proc/self/exe", nullptr));
    if (!self) {
        return {};
    }
    const std::string program = self.get();
    const std::string folder = program.substr(0, program.rfind('/') + 1);
    for (const char* libraries : {TVTOOL_LIBDIR, "../lib"}) {
        std::string path = folder + libraries + "/TVframework.framework/Versions/" + TVTOOL_ABI +
                           "/Resources/CXMnwc";
        if (Exists(path)) {
            return path;
        }
    }
    return {};
}

void SetApplicationVariables() {
    Tova::SetBuiltInVariables();
    const std::string path = FindOwnConfiguration();
    if (path.empty()) {
        return;
    }
    try {
        Tova::CVarList list;
        ReadConfig(path, list);
        Tova::GlobalVars += list;
    } catch (const ToolError& error) {
        Complain(std::string(error.what()) + " (left out)");
    }
}

}  // namespace tvtool
