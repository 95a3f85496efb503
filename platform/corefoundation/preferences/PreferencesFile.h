// The file of one preferences domain. Nothing here is locked; see PreferencesLock.
#pragma once

#include "corefoundation/preferences/Plist.h"

#include <string>
#include <string_view>
#include <vector>

namespace tvplatform {

enum class FileState {
    Good,
    Absent,
    // Not a property list that can be read.
    Damaged,
    // Not permitted, not a regular file, larger than any file that is written here.
    Unusable
};

// Entries only when the state is Good.
struct PreferencesReading {
    FileState state;
    std::vector<PlistEntry> entries;
};

PreferencesReading ReadPreferencesFile(const std::string& path);

// Replaces the file (if it is a link, what it leads to) by one with these entries that only the
// owner may read, and returns when it is on the disk. With `keepOld` the old one stays under a name
// that was free, "….damaged-1" and so on. On failure the file is as it was, unless only the last
// step failed, making the new name of the file last.
bool ReplacePreferencesFile(const std::string& path, const std::vector<PlistEntry>& entries,
                            bool keepOld);

// When root made a file in another user's folder, gives it to that user, who could not use it
// otherwise.
void GiveToFolderOwner(int file, const std::string& path);

}  // namespace tvplatform
