// Preferences in memory: for each domain the contents of its file, and the changes that wait to be
// written into it. Any thread may call everything here, also in a child after a fork. No lock is
// held while files are read, written or waited for.
#pragma once

#include "corefoundation/preferences/Plist.h"
#include "posix/UserFolders.h"

#include <optional>
#include <string>
#include <vector>

namespace tvplatform {

// The place of a domain. Without a folder the domain lives in memory alone.
struct PreferencesDomain {
    std::optional<tvposix::FolderPlace> folder;
    // The name in the folder, and the whole path.
    std::string name;
    std::string file;
};

// `name` is the name of a file without its ending, and must be valid as such.
PreferencesDomain FindPreferencesDomain(const std::string& name);

// Returns null if there is none.
PlistValue GetPreference(const PreferencesDomain& domain, const std::string& key);
// Returns the keys in order of their bytes.
std::vector<std::string> GetPreferenceKeys(const PreferencesDomain& domain);
// Keeps a value for the next synchronising, which writes it. Null removes the key.
void SetPreference(const PreferencesDomain& domain, PlistEntry change);
// Returns 0 or an error number. See CFPreferencesSynchronize.
int SynchronizePreferences(const PreferencesDomain& domain);

}  // namespace tvplatform
