// The file system of this machine: node types, the named folders, Finder information and
// attributes. It has no state; any thread may use it.
#pragma once

#include "fs/CFileSystem.h"

namespace Tova {

// An empty path or an unknown kind is ErrBadParameter, an object that is missing `Failure`;
// platform errors go through ToRStatus. Output arguments are written only on success.
class CLocalFileSystem final : public CFileSystem {
public:
    enum DirType : int {
        // The current user's application-support folder.
        UserAppDataDir = 6,
        // The machine-wide application-support folder.
        MachineAppDataDir = 7,
    };

    // What GetInfo writes to the caller's buffer.
    enum InfoKind : int {
        // 64 bits: length of the data fork, in bytes.
        DataSizeInfo = 0,
        // 16 bits: node flags; 0x10 is a directory.
        NodeFlagsInfo = 1,
        // 16 bits: POSIX mode.
        PermissionsInfo = 2,
        // 16 bytes: type, creator, Finder flags, location, reserved.
        FinderInfo = 3,
        // 16 bytes.
        ExtendedFinderInfo = 4,
    };

    constexpr CLocalFileSystem() = default;

    RStatus CreateDirectory(const CFSPath& path) override;
    RStatus GetNodeType(const CFSPath& path) override;
    // Fails for every path: a file reference brings no name for the new folder along. So this file
    // system makes no folders of its own; those that are needed come from GetDirectory. Callers
    // count on the failure: it is not to be mended.
    RStatus NativeCreateDirectory(const CFSPath& path) override;
    // ReadOnly: false only when owner, group and others may all write.
    virtual RStatus GetAttribute(const CFSPath& path, FSAttribute attribute, bool& value);
    // Only ReadOnly can be set: true takes all three write permissions away, false grants them all.
    virtual RStatus SetAttribute(const CFSPath& path, FSAttribute attribute, bool value);

    bool IsCurrentDirSupported() const;
    RStatus MakeFullPath(CFSPath& path) const;
    // `out` has room for what InfoKind says of `kind`. A missing object is reported before a bad
    // kind.
    RStatus GetInfo(const CFSPath& path, int kind, void* out) const;
    // Null pointers are skipped.
    RStatus GetFileFinderInfo(const CFSPath& path, unsigned* creator, unsigned* type,
                              unsigned short* flags) const;
    // Location and reserved field are kept.
    RStatus SetFileFinderInfo(const CFSPath& path, unsigned creator, unsigned type,
                              unsigned short flags) const;
    // Finds the folder, making it when it is missing. `Failure` for any other type.
    RStatus GetDirectory(DirType type, CFSPath& out) const;
    // "UserAppDataDir" or "MachineAppDataDir"; any other name is ErrBadParameter.
    RStatus GetDirectory(const char* name, CFSPath& out) const;
    // Expands "[FolderName]" or "[FolderName]/rest". ErrBadParameter for a text without brackets.
    RStatus MakePath(const char* text, CFSPath& out) const;
};

extern CLocalFileSystem LFS;

}  // namespace Tova
