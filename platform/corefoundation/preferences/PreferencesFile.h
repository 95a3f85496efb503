// The file of one preferences domain. Nothing here is locked; see PreferencesLock.
#pragma once

#include "corefoundation/preferences/Plist.h"

#include <string>
#include <vector>

namespace tvplatform {

enum class FileState {
    Good,
    Absent,
    // The file is not a property list that can be read.
    Damaged,
    // The file is not permitted, not a regular file, or larger than any file that is written here.
    Unusable
};

// There are entries only if the state is Good.
struct PreferencesReading {
    FileState state;
    std::vector<PlistEntry> entries;
};

PreferencesReading ReadPreferencesFile(const std::string& path);

// Replaces the file (if it is a link, the file that it leads to) by one with these entries that
// only the owner may read, and returns when it is on the disk. With `keepOld` the old file stays as
// "….damaged-1", or the first number that is free. Returns false after a failure. The old file then
// stays, except after a failure of the last step, which makes the new name last.
bool ReplacePreferencesFile(const std::string& path, const std::vector<PlistEntry>& entries,
                            bool keepOld);

}  // namespace tvplatform
