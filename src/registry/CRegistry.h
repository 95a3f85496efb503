// Registries: objects that own a registry tree, some of which fill it from a store. Nothing is
// written back. One thread at a time may use a registry and the handles on its tree. The handles
// must let go before the registry is destroyed.
#pragma once

#include "fs/CFSPath.h"
#include "registry/CRegDir.h"

namespace Tova {

// A tree in memory with a root directory named "(root)". The registry is itself the handle on the
// root: it can be assigned to another handle, but not the other way round. It must not be the
// output of OpenDir or another operation, which would lose its root.
class CMemRegistry : public CRegDir {
public:
    CMemRegistry();
    ~CMemRegistry() override;
    CMemRegistry(const CMemRegistry&) = delete;
    CMemRegistry& operator=(const CMemRegistry&) = delete;

private:
    using CRegDir::ReleaseNode;
    using CRegDir::SetNode;
};

class CRegistry : public CMemRegistry {
public:
    // The argument has no effect.
    explicit CRegistry(bool);

    // Adds the contents of the store to the tree and returns the store's status. The tree then
    // counts as unmodified, also if reading fails half-way.
    RStatus Read();
    // Returns true if a Read has succeeded.
    bool IsRead() const { return read_; }

    // Makes the registry that `spec` names: "FILE:" and a path that begins with a folder name in
    // brackets. Returns null for any other text. The registry is not read yet, and the caller owns
    // it. If the path cannot be expanded, Read fails.
    static CRegistry* Create(const char* spec);

protected:
    virtual RStatus DoRead() = 0;

private:
    bool read_ = false;
};

// A registry text file, in either format.
class CFileRegistry : public CRegistry {
public:
    // The second argument has no effect.
    CFileRegistry(const CFSPath& path, bool);

protected:
    // Returns the status of opening the file if that fails, else the status of ReadFromStream.
    RStatus DoRead() override;

    CFSPath filePath_;
    // The last reading found less than the file has.
    bool lacksMemory_ = false;
};

}  // namespace Tova
