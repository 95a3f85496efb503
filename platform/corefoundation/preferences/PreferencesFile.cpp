#include "corefoundation/preferences/PreferencesFile.h"

#include "posix/Files.h"

#include <cerrno>

namespace tvplatform {

namespace {

constexpr size_t cLargestFile = size_t{16} << 20U;  // bytes
constexpr std::chrono::seconds cLongestWait(2);

// Finds the file if there is no `error` yet, and reads it.
PreferencesReading readFile(int error, tvposix::Descriptor folder, const std::string& name,
                            tvposix::FilePlace& place) {
    std::string bytes;
    if (error == 0) {
        error = tvposix::FindFile(std::move(folder), name, tvposix::Links::Trusted, place);
    }
    if (error == 0) {
        error = tvposix::ReadFile(place, cLargestFile, bytes);
    }
    if (error != 0) {
        return {error, {}};
    }
    auto entries = ReadPlist(bytes);
    return entries ? PreferencesReading{0, std::move(*entries)} : PreferencesReading{EILSEQ, {}};
}

}  // namespace

PreferencesReading ReadPreferencesFile(const tvposix::FolderPlace& folder,
                                       const std::string& name) {
    tvposix::Descriptor opened;
    tvposix::FilePlace place;
    const int error = tvposix::OpenFolder(folder, std::nullopt, opened);
    return readFile(error, std::move(opened), name, place);
}

LockedPreferencesFile::LockedPreferencesFile(const tvposix::FolderPlace& folder,
                                             const std::string& name)
    : name_(name), deadline_(std::chrono::steady_clock::now() + cLongestWait),
      error_(tvposix::OpenFolder(folder, 0700, folder_)),
      lock_(folder_, name + ".lock", deadline_) {}

PreferencesReading LockedPreferencesFile::Read() {
    return readFile(0, std::move(folder_), name_, place_);
}

int LockedPreferencesFile::Replace(const std::vector<PlistEntry>& entries, bool keepOld) {
    const std::string xml = WritePlist(entries);
    if (xml.size() > cLargestFile) {
        return EFBIG;
    }
    const auto [error, step] =
        tvposix::Replacement(std::move(place_), deadline_).Finish(xml, keepOld ? ".damaged-" : "");
    // The file is replaced before the last step, and some folders refuse that one.
    return step == tvposix::ReplaceStep::SyncFolder ? 0 : error;
}

}  // namespace tvplatform
