// Preferences in memory: what each domain's file held, and what waits to be written into it. Any
// thread may call everything here, also in a child after a fork. No lock is held while files are
// read, written or waited for.
#pragma once

#include "corefoundation/preferences/Plist.h"
#include "posix/UserFolders.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tvplatform {

// Where a domain is kept. Without a folder there is nothing but memory.
struct PreferencesDomain {
    std::optional<FolderPlace> folder;
    std::string file;
};

// `name` is a file's name without its ending, and valid as such.
PreferencesDomain FindPreferencesDomain(const std::string& name);

// Null when there is none.
PlistValue GetPreference(const PreferencesDomain& domain, const std::string& key);
// In order of their bytes.
std::vector<std::string> GetPreferenceKeys(const PreferencesDomain& domain);
// Values to be written at the next synchronising; null removes.
void SetPreferences(const PreferencesDomain& domain, const std::vector<PlistEntry>& changes);
bool SynchronizePreferences(const PreferencesDomain& domain);

}  // namespace tvplatform
