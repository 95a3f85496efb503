// The file system of this machine: node types, the named folders, Finder information and
// attributes. It has no state. Any thread may use it.
#pragma once

#include "fs/CFileSystem.h"

namespace Tova {

// The operations return ErrBadParameter for an empty path or an unknown kind, and `Failure` for a
// missing object. ToRStatus converts platform errors. Output arguments are written only on success.
class CLocalFileSystem final : public CFileSystem {
public:
    enum DirType : int {
        // The current user's application-support folder.
        UserAppDataDir = 6,
        // The machine-wide application-support folder.
        MachineAppDataDir = 7,
    };

    // The kinds of information that GetInfo writes to the caller's buffer.
    enum InfoKind : int {
        // 64 bits: the length of the data fork in bytes.
        DataSizeInfo = 0,
        // 16 bits: the node flags. 0x10 stands for a directory.
        NodeFlagsInfo = 1,
        // 16 bits: the POSIX mode.
        PermissionsInfo = 2,
        // 16 bytes: type, creator, Finder flags, location, reserved field.
        FinderInfo = 3,
        // 16 bytes.
        ExtendedFinderInfo = 4,
    };

    constexpr CLocalFileSystem() = default;

    RStatus CreateDirectory(const CFSPath& path) override;
    RStatus GetNodeType(const CFSPath& path) override;
    // Deliberate: fails for every path, because a file reference does not supply the name of the
    // new folder. So this file system makes no folders of its own; GetDirectory makes those that
    // are needed. Callers count on the failure.
    RStatus NativeCreateDirectory(const CFSPath& path) override {
        return path.IsEmpty() ? ErrBadParameter : Failure;
    }
    // ReadOnly is false only if the owner, the group and others may all write.
    virtual RStatus GetAttribute(const CFSPath& path, FSAttribute attribute, bool& value);
    // Sets ReadOnly, and no other attribute. True takes all three write permissions away, false
    // grants them all.
    virtual RStatus SetAttribute(const CFSPath& path, FSAttribute attribute, bool value);

    bool IsCurrentDirSupported() const { return true; }
    RStatus MakeFullPath(CFSPath& path) const { return path.MakeFullPath(); }
    // `out` must have the size that InfoKind gives for `kind`. A missing object is reported before
    // an unknown kind.
    RStatus GetInfo(const CFSPath& path, int kind, void* out) const;
    // Skips null pointers.
    RStatus GetFileFinderInfo(const CFSPath& path, unsigned* creator, unsigned* type,
                              unsigned short* flags) const;
    // Keeps the location and the reserved field.
    RStatus SetFileFinderInfo(const CFSPath& path, unsigned creator, unsigned type,
                              unsigned short flags) const;
    // Finds the folder, and makes it if it is missing. Returns `Failure` for another type.
    RStatus GetDirectory(DirType type, CFSPath& out) const;
    // `name` is "UserAppDataDir" or "MachineAppDataDir". Returns ErrBadParameter for another name.
    RStatus GetDirectory(const char* name, CFSPath& out) const;
    // Expands "[FolderName]" or "[FolderName]/rest". Returns ErrBadParameter for a text without
    // brackets.
    RStatus MakePath(const char* text, CFSPath& out) const;
};

extern CLocalFileSystem LFS;

}  // namespace Tova
