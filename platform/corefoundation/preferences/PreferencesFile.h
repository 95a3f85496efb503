// The file of one preferences domain. Lack of memory is std::bad_alloc and changes nothing.
#pragma once

#include "corefoundation/preferences/Plist.h"
#include "corefoundation/preferences/PreferencesLock.h"
#include "posix/Places.h"

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

// Makes nothing, and follows only trusted links.
PreferencesReading ReadPreferencesFile(const tvposix::FolderPlace& folder, const std::string& name);

// The file while no other thread or process changes it.
class LockedPreferencesFile {
public:
    // Makes missing folders. Waits up to 2 s for others.
    LockedPreferencesFile(const tvposix::FolderPlace& folder, const std::string& name);

    // Returns false if the folder or the lock cannot be had. Nothing else may be called then.
    bool IsHeld() const { return lock_.IsHeld(); }
    PreferencesReading Read();
    // Replaces the file (if it is a trusted link, the file that it leads to) by one with these
    // entries that only the owner may read, and returns when it is on the disk. With `keepOld` the
    // old file stays as "….damaged-1", or the first number that is free. Returns false after a
    // failure. The old file then stays, except after a failure of the last step, which makes the
    // new name last. Call this once, after Read.
    bool Replace(const std::vector<PlistEntry>& entries, bool keepOld);

private:
    const std::string& name_;
    tvposix::Descriptor folder_;
    const PreferencesLock lock_;
    tvposix::FilePlace place_;
};

}  // namespace tvplatform
