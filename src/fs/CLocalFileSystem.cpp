#include "fs/CLocalFileSystem.h"

#include "text/CFRef.h"

#include <climits>
#include <cstdint>
#include <cstring>

namespace Tova {

constinit CLocalFileSystem LFS;

namespace {

constexpr unsigned cWriteBits = 0222;
static_assert(sizeof(FileInfo) == 16);

// The catalog information of one object.
class Catalog {
public:
    Catalog() = default;
    Catalog(const Catalog&) = delete;
    Catalog& operator=(const Catalog&) = delete;
    ~Catalog() {
        if (info.permissions.fileSec != nullptr) {
            CFRelease(info.permissions.fileSec);
        }
    }

    RStatus Read(const FSRef& ref, FSCatalogInfoBitmap which) {
        return ToRStatus(FSGetCatalogInfo(&ref, which, &info, nullptr, nullptr, nullptr));
    }
    RStatus Write(const FSRef& ref, FSCatalogInfoBitmap which) const {
        return ToRStatus(FSSetCatalogInfo(&ref, which, &info));
    }

    FSCatalogInfo info = {};
};

// Reads the catalog information that is to be changed. Makes `ref` stand for the object at `path`.
RStatus readCatalog(const CFSPath& path, FSCatalogInfoBitmap which, FSRef& ref, Catalog& catalog) {
    const RStatus status = path.MacToFSRef(ref);
    return status >= 0 ? catalog.Read(ref, which) : status;
}

// Returns true if the system can reach what stands at the path.
bool isShort(const CFSPath& path) {
    UInt8 bytes[PATH_MAX];
    return CFURLGetFileSystemRepresentation(path.GetURL(), true, bytes, sizeof bytes) != 0;
}

// One kind of information: the catalog bits to read, and the copying into the caller's buffer.
struct InfoRow {
    FSCatalogInfoBitmap bitmap;
    void (*copy)(const FSCatalogInfo& from, void* to);
};

template <class T>
void put(T value, void* to) {
    std::memcpy(to, &value, sizeof value);
}

// The rows are in the order of InfoKind.
constexpr InfoRow cInfoRows[] = {
    {kFSCatInfoDataSizes,
     [](const FSCatalogInfo& from, void* to) { put<std::uint64_t>(from.dataLogicalSize, to); }},
    {kFSCatInfoNodeFlags,
     [](const FSCatalogInfo& from, void* to) { put<std::uint16_t>(from.nodeFlags, to); }},
    {kFSCatInfoPermissions,
     [](const FSCatalogInfo& from, void* to) { put<std::uint16_t>(from.permissions.mode, to); }},
    {kFSCatInfoFinderInfo,
     [](const FSCatalogInfo& from, void* to) { std::memcpy(to, from.finderInfo, 16); }},
    {kFSCatInfoFinderXInfo,
     [](const FSCatalogInfo& from, void* to) { std::memcpy(to, from.extFinderInfo, 16); }},
};

}  // namespace

RStatus CLocalFileSystem::CreateDirectory(const CFSPath& path) {
    if (path.IsEmpty()) {
        return ErrBadParameter;
    }
    CFSPath full;
    full.Copy(path);
    if (!full.IsFullPath()) {
        if (const RStatus status = full.MakeFullPath(); status < 0) {
            return status;
        }
    }
    // The walk upward calls itself once for each component.
    if (!isShort(full)) {
        return Failure;
    }
    return CFileSystem::CreateDirectory(full);
}

RStatus CLocalFileSystem::GetNodeType(const CFSPath& path) {
    if (path.IsEmpty()) {
        return ErrBadParameter;
    }
    std::uint16_t flags = 0;
    if (const RStatus status = GetInfo(path, NodeFlagsInfo, &flags); status < 0) {
        return status;
    }
    return (flags & kFSNodeIsDirectoryMask) != 0 ? S_NodeIsDirectory : S_NodeIsFile;
}

RStatus CLocalFileSystem::GetInfo(const CFSPath& path, int kind, void* out) const {
    if (out == nullptr || path.IsEmpty()) {
        return ErrBadParameter;
    }
    FSRef ref = {};
    if (const RStatus status = path.MacToFSRef(ref); status < 0) {
        return status;
    }
    if (kind < DataSizeInfo || kind > ExtendedFinderInfo) {
        return ErrBadParameter;
    }
    const InfoRow& row = cInfoRows[kind];
    Catalog catalog;
    const RStatus status = catalog.Read(ref, row.bitmap);
    if (status >= 0) {
        row.copy(catalog.info, out);
    }
    return status;
}

RStatus CLocalFileSystem::GetFileFinderInfo(const CFSPath& path, unsigned* creator, unsigned* type,
                                            unsigned short* flags) const {
    FileInfo record = {};
    const RStatus status = GetInfo(path, FinderInfo, &record);
    if (status < 0) {
        return status;
    }
    if (creator != nullptr) {
        *creator = record.fileCreator;
    }
    if (type != nullptr) {
        *type = record.fileType;
    }
    if (flags != nullptr) {
        *flags = record.finderFlags;
    }
    return status;
}

RStatus CLocalFileSystem::SetFileFinderInfo(const CFSPath& path, unsigned creator, unsigned type,
                                            unsigned short flags) const {
    if (path.IsEmpty()) {
        return ErrBadParameter;
    }
    FSRef ref = {};
    Catalog catalog;
    if (const RStatus status = readCatalog(path, kFSCatInfoFinderInfo, ref, catalog); status < 0) {
        return status;
    }
    FileInfo record = {};
    std::memcpy(&record, catalog.info.finderInfo, sizeof record);
    record.fileCreator = creator;
    record.fileType = type;
    record.finderFlags = flags;
    std::memcpy(catalog.info.finderInfo, &record, sizeof record);
    return catalog.Write(ref, kFSCatInfoFinderInfo);
}

RStatus CLocalFileSystem::GetAttribute(const CFSPath& path, FSAttribute attribute, bool& value) {
    if (path.IsEmpty()) {
        return ErrBadParameter;
    }
    RStatus status = Failure;
    if (attribute == Hidden) {
        unsigned short flags = 0;
        status = GetFileFinderInfo(path, nullptr, nullptr, &flags);
        if (status >= 0) {
            value = (flags & kIsInvisible) != 0;
        }
    } else if (attribute == ReadOnly) {
        std::uint16_t mode = 0;
        status = GetInfo(path, PermissionsInfo, &mode);
        if (status >= 0) {
            value = (mode & cWriteBits) != cWriteBits;
        }
    }
    return status;
}

RStatus CLocalFileSystem::SetAttribute(const CFSPath& path, FSAttribute attribute, bool value) {
    if (path.IsEmpty() || attribute != ReadOnly) {
        return ErrBadParameter;
    }
    FSRef ref = {};
    Catalog catalog;
    if (const RStatus status = readCatalog(path, kFSCatInfoPermissions, ref, catalog); status < 0) {
        return status;
    }
    const unsigned mode = catalog.info.permissions.mode;
    catalog.info.permissions.mode =
        static_cast<UInt16>(value ? mode & ~cWriteBits : mode | cWriteBits);
    return catalog.Write(ref, kFSCatInfoPermissions);
}

RStatus CLocalFileSystem::GetDirectory(DirType type, CFSPath& out) const {
    if (type != UserAppDataDir && type != MachineAppDataDir) {
        return Failure;
    }
    FSRef ref = {};
    const RStatus status =
        ToRStatus(FSFindFolder(type == UserAppDataDir ? kUserDomain : kLocalDomain,
                               kApplicationSupportFolderType, true, &ref));
    return status < 0 ? status : out.MacFromFSRef(ref);
}

RStatus CLocalFileSystem::GetDirectory(const char* name, CFSPath& out) const {
    if (name == nullptr) {
        return ErrBadParameter;
    }
    if (std::strcmp(name, "UserAppDataDir") == 0) {
        return GetDirectory(UserAppDataDir, out);
    }
    return std::strcmp(name, "MachineAppDataDir") == 0 ? GetDirectory(MachineAppDataDir, out)
                                                       : ErrBadParameter;
}

RStatus CLocalFileSystem::MakePath(const char* text, CFSPath& out) const {
    const char* end = text != nullptr && *text == '[' ? std::strchr(text, ']') : nullptr;
    if (end == nullptr) {
        return ErrBadParameter;
    }
    CString name;
    name.Append(text + 1, static_cast<int>(end - text - 1));
    CFSPath path;
    RStatus status = GetDirectory(name.CStr(), path);
    if (status >= 0 && end[1] != '\0') {
        status = path.AppendComponents(end + 1);
    }
    if (status >= 0) {
        out.Set(path.GetURL(), false);
    }
    return status;
}

}  // namespace Tova
