// The file of one preferences domain. Lack of memory is std::bad_alloc and changes nothing.
#pragma once

#include "corefoundation/preferences/Plist.h"
#include "corefoundation/preferences/PreferencesLock.h"
#include "posix/Places.h"

#include <chrono>
#include <string>
#include <vector>

namespace tvplatform {

// There are entries only if the error is 0. ENOENT means that there is no file, EILSEQ that it is
// no property list. With another error number it could not be read.
struct PreferencesReading {
    int error;
    PlistDict entries;
};

// Makes nothing, and follows only trusted links.
PreferencesReading ReadPreferencesFile(const tvposix::FolderPlace& folder, const std::string& name);

// The file while no other thread or process changes it.
class LockedPreferencesFile {
public:
    // Makes missing folders. This and Replace wait up to 2 s for others, both together.
    LockedPreferencesFile(const tvposix::FolderPlace& folder, const std::string& name);

    // Returns the error number if the folder or the lock cannot be had, EAGAIN if others kept the
    // lock, else 0. Nothing else may be called after an error.
    int Error() const { return error_ != 0 ? error_ : lock_.Error(); }
    PreferencesReading Read();
    // Replaces the file (if it is a trusted link, the file that it leads to) by one with these
    // entries that only the owner may read, and returns when it is on the disk (the folder, if
    // the system permits). With `keepOld` the
    // old file stays as "….damaged-1", or the first number that is free. Returns 0 or an error
    // number. After an error the old file stays. Call this once, after Read.
    int Replace(const std::vector<PlistEntry>& entries, bool keepOld);

private:
    const std::string& name_;
    const std::chrono::steady_clock::time_point deadline_;
    tvposix::Descriptor folder_;
    const int error_;
    const PreferencesLock lock_;
    tvposix::FilePlace place_;
};

}  // namespace tvplatform
