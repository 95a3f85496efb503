#include "fs/CFileSystem.h"

#include <sys/stat.h>

namespace Tova {

RStatus CFileSystem::FileExists(const CFSPath& path) {
    CString text;
    if (const RStatus status = path.ToUnixPath(text); status < 0) {
        return status;
    }
    struct stat ignored = {};
    return stat(text.CStr(), &ignored) == 0 ? Ok : ErrNotFound;
}

RStatus CFileSystem::CreateDirectory(const CFSPath& path) {
    switch (const RStatus type = GetNodeType(path); type) {
    case ErrBadParameter:
        return type;
    case S_NodeIsDirectory:
        return Ok;
    case S_NodeIsFile:
        return ErrAlreadyExists;
    default:
        break;
    }
    CFSPath folder;
    RStatus status = path.GetComponent(FSContainingFolder, folder);
    if (status >= 0 && !folder.IsRootDirectory() && GetNodeType(folder) != S_NodeIsDirectory) {
        status = CreateDirectory(folder);
    }
    return status < 0 ? status : NativeCreateDirectory(path);
}

}  // namespace Tova
