// What a file system offers: whether a path exists, what it is, and the making of folders. A file
// system has no state; any thread may use one.
#pragma once

#include "fs/CFSPath.h"
#include "text/RStatus.h"

namespace Tova {

class CFileSystem {
public:
    enum FSAttribute : int {
        ReadOnly = 1,
        // Invisible in the Finder.
        Hidden = 2,
    };

    // Makes the folder and every missing one above it. `Ok` when it exists already,
    // ErrAlreadyExists when a file is in the way.
    virtual RStatus CreateDirectory(const CFSPath& path);
    // `Ok` or ErrNotFound; the status of the conversion when the path has no text.
    virtual RStatus FileExists(const CFSPath& path);
    // S_NodeIsDirectory or S_NodeIsFile. Here: ErrNotSupported.
    virtual RStatus GetNodeType(const CFSPath& path);
    // Makes one folder in an existing one. Here: ErrNotSupported.
    virtual RStatus NativeCreateDirectory(const CFSPath& path);

    // True when the path is not empty.
    bool IsValidPath(const CFSPath& path) const { return !path.IsEmpty(); }
    // True: every path may be used with every file system.
    bool IsCompatible(const CFSPath& path) const;

protected:
    constexpr CFileSystem() = default;
    CFileSystem(const CFileSystem&) = default;
    CFileSystem& operator=(const CFileSystem&) = default;
    ~CFileSystem() = default;
};

}  // namespace Tova
