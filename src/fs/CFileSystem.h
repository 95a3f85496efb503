// The interface of a file system: tells whether a path exists and what it is, and makes folders. A
// file system has no state. Any thread may use one.
#pragma once

#include "fs/CFSPath.h"
#include "text/RStatus.h"

namespace Tova {

class CFileSystem {
public:
    enum FSAttribute : int {
        ReadOnly = 1,
        // The object is invisible in the Finder.
        Hidden = 2,
    };

    // Makes the folder and every missing one above it. Returns `Ok` if it exists already, and
    // ErrAlreadyExists if a file is in the way.
    virtual RStatus CreateDirectory(const CFSPath& path);
    // Returns `Ok` or ErrNotFound. If the path has no text, returns the status of the conversion.
    virtual RStatus FileExists(const CFSPath& path);
    // Returns S_NodeIsDirectory or S_NodeIsFile. This base class returns ErrNotSupported.
    virtual RStatus GetNodeType(const CFSPath& /*path*/) { return ErrNotSupported; }
    // Makes one folder in an existing one. This base class returns ErrNotSupported.
    virtual RStatus NativeCreateDirectory(const CFSPath& /*path*/) { return ErrNotSupported; }

    // Returns true if the path is not empty.
    bool IsValidPath(const CFSPath& path) const { return !path.IsEmpty(); }
    // Returns true, because every path may be used with every file system.
    bool IsCompatible(const CFSPath& /*path*/) const { return true; }

protected:
    constexpr CFileSystem() = default;
    CFileSystem(const CFileSystem&) = default;
    CFileSystem& operator=(const CFileSystem&) = default;
    ~CFileSystem() = default;
};

}  // namespace Tova
