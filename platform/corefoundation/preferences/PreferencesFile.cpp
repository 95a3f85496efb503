#include "corefoundation/preferences/PreferencesFile.h"

#include "posix/Files.h"

namespace tvplatform {

namespace {

constexpr size_t cLargestFile = size_t{16} << 20U;  // bytes

}  // namespace

PreferencesReading ReadPreferencesFile(const std::string& path) {
    std::string bytes;
    if (const int error = tvposix::ReadFile(path, cLargestFile, bytes); error != 0) {
        return {error == ENOENT ? FileState::Absent : FileState::Unusable, {}};
    }
    auto entries = ReadPlist(bytes);
    return entries ? PreferencesReading{FileState::Good, std::move(*entries)}
                   : PreferencesReading{FileState::Damaged, {}};
}

bool ReplacePreferencesFile(const std::string& path, const std::vector<PlistEntry>& entries,
                            bool keepOld) {
    const std::string xml = WritePlist(entries);
    return !xml.empty() && xml.size() <= cLargestFile &&
           tvposix::ReplaceFile(path, xml, tvposix::NewFile::Private, keepOld ? ".damaged-" : "")
                   .error == 0;
}

}  // namespace tvplatform
