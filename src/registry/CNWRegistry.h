// The shared application registry. It is one file for each machine, in which every application of
// the maker and every user has a directory. The library only reads it. One thread at a time may use
// an object.
#pragma once

#include "registry/CRegistry.h"

namespace Tova {

class CNWRegistry : public CFileRegistry {
public:
    // The name of the user can take long to find, where a network knows the users. It can be left
    // out by those who need only the application.
    enum class UserDirectory { Open, LeaveOut };

    // Reads "[MachineAppDataDir]/Nimbus Works/Nimbus Works Registry", or the file that the
    // application variable "NWRegistry" names. Then opens the directories of the application
    // `appKey` (a path, or null for none) and of the current user, or makes them in memory. After
    // an error the object finds less. Throws std::bad_alloc if memory runs out, or what the file
    // forbids would seem to be allowed.
    explicit CNWRegistry(const char* appKey, UserDirectory user = UserDirectory::Open);

    // Expands the name of the file that a new object would read. Returns the status of the
    // expansion and leaves `path` unchanged on failure.
    static RStatus FindRegistry(CFSPath& path);

    // Stores a value below the application's directory; `name` may be a path. Returns false and
    // leaves `out` unchanged if there is none.
    bool ReadAppValue(const char* name, CString& out) const { return appDir_.GetValue(name, out); }

    // Returns the file that was looked for. It is empty if its name could not be expanded.
    const CFSPath& RegistryPath() const { return registryPath_; }
    // These are on no node if there is no application key, if it cannot be a directory's name, or
    // if the user was left out.
    const CRegDir& AppDir() const { return appDir_; }
    const CRegDir& UserDir() const { return userDir_; }
    bool HasApplication() const { return hasApplication_; }

private:
    void OpenOrCreate(const char* path, CRegDir& out);

    // The handles let go before the tree is destroyed, because the tree belongs to a base class.
    bool hasApplication_;
    CRegDir appDir_;
    CRegDir userDir_;
    CFSPath registryPath_;
};

}  // namespace Tova
