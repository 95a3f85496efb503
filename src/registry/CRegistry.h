// Registries: objects that own a registry tree and, above the one in memory, fill it from a store.
// Nothing is ever written back. One thread at a time may use a registry and the handles on its
// tree, which must let go before it is destroyed.
#pragma once

#include "fs/CFSPath.h"
#include "registry/CRegDir.h"

namespace Tova {

// A tree in memory, beginning with a root directory named "(root)". The registry is itself the
// handle on the root, so another handle may be assigned from it, but not it from another.
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

    // Reads the store over what is in the tree, which then counts as unmodified, also when reading
    // fails part of the way. The status is that of the store.
    RStatus Read();
    // Whether a Read succeeded.
    bool IsRead() const { return read_; }

    // A registry on what `spec` names, not yet read, which the caller owns: "FILE:" and a path that
    // begins with a folder name in brackets. Null for anything else. A path that cannot be expanded
    // shows when the registry is read.
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
    // The status of opening the file, else that of ReadFromStream.
    RStatus DoRead() override;

    CFSPath filePath_;
};

}  // namespace Tova
