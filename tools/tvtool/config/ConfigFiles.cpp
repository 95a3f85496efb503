#include "tvtool/config/ConfigFiles.h"

#include "streams/CMemoryStream.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"

#include <new>

namespace tvtool {

using Damage = Tova::ConfigFileReport::Damage;

void DecodeConfig(std::string bytes, Tova::CVarList& list, Tova::ConfigFileReport& report) {
    Tova::CMemoryStream stream(Tova::cConfigFileReadFlags, bytes);
    // The report tells more than the status, which also accepts a file without its last byte.
    static_cast<void>(Tova::ReadConfiguration(stream, list, &report));
}

std::string DescribeDamage(const Tova::ConfigFileReport& report) {
    std::string words = Tova::DamageOf(report.damage).words;
    switch (report.damage) {
    case Damage::NoHeader:
        return report.header.IsEmpty() ? "no header: the file is empty, or no configuration file"
                                       : words;
    case Damage::OtherHeader:
        return words + ": " + Quote(report.header.CStr()) + " in place of " +
               Quote(Tova::cConfigFileHeader);
    case Damage::CheckValueDiffers:
        return words + ": the file says " + std::to_string(report.stored) +
               ", its contents sum to " + std::to_string(report.computed);
    default:
        return words;
    }
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

}  // namespace tvtool
