// The shared application registry: one file per machine, in which every application of the maker
// and every user has a directory. It is only read. One thread at a time may use an object.
#pragma once

#include "registry/CRegistry.h"

namespace Tova {

class CNWRegistry : public CFileRegistry {
public:
    // Reads "[MachineAppDataDir]/Nimbus Works/Nimbus Works Registry", or the file that the
    // application variable "NWRegistry" names, and opens the directories of the application
    // `appKey` (a path; null: none) and of the current user, or makes them in memory. Never fails:
    // whatever goes wrong leaves an object that finds less.
    explicit CNWRegistry(const char* appKey);

    // Expands the name of the file that a new object would read. On failure, the status of the
    // expansion, `path` is as before.
    static RStatus FindRegistry(CFSPath& path);

    // A value below the application's directory (`name` may be a path). False, with `out`
    // unchanged, when there is none.
    bool ReadAppValue(const char* name, CString& out) const;

    // The file that was looked for; empty when its name could not be made into a path.
    const CFSPath& RegistryPath() const { return registryPath_; }
    // Handles on no node when there is no application key or it cannot be a directory's name.
    const CRegDir& AppDir() const { return appDir_; }
    const CRegDir& UserDir() const { return userDir_; }
    bool HasApplication() const { return hasApplication_; }

private:
    void OpenOrCreate(const char* path, CRegDir& out);

    // The handles are destroyed, and so let go, before the tree, which belongs to a base.
    bool hasApplication_;
    CRegDir appDir_;
    CRegDir userDir_;
    CFSPath registryPath_;
};

}  // namespace Tova
