// The C interface of the catalog information.
#include "coreservices/FileErrors.h"
#include "coreservices/FileReference.h"
#include "coreservices/FinderRecords.h"

#include <CoreServices/Files.h>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

using namespace tvplatform;

namespace {

constexpr FSCatalogInfoBitmap cFinderBits = kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;
constexpr FSCatalogInfoBitmap cSettableBits = kFSCatInfoPermissions | cFinderBits;
constexpr FSCatalogInfoBitmap cKnownBits =
    cSettableBits | kFSCatInfoNodeFlags | kFSCatInfoDataSizes;
constexpr UInt64 cStatBlock = 512;  // bytes, in every file system

void fillFromStatus(FSCatalogInfo& info, FSCatalogInfoBitmap which, const struct stat& status) {
    const bool isFolder = S_ISDIR(status.st_mode);
    if ((which & kFSCatInfoNodeFlags) != 0) {
        info.nodeFlags = isFolder ? kFSNodeIsDirectoryMask : 0;
    }
    if ((which & kFSCatInfoPermissions) != 0) {
        info.permissions = {};
        info.permissions.userID = status.st_uid;
        info.permissions.groupID = status.st_gid;
        info.permissions.mode = static_cast<UInt16>(status.st_mode);
    }
    if ((which & kFSCatInfoDataSizes) != 0) {
        info.dataLogicalSize = isFolder ? 0 : static_cast<UInt64>(status.st_size);
        info.dataPhysicalSize = isFolder ? 0 : static_cast<UInt64>(status.st_blocks) * cStatBlock;
    }
}

int fillFinderRecords(FSCatalogInfo& info, FSCatalogInfoBitmap which, const char* path,
                      bool isFolder) {
    FinderRecords records = {};
    const int error = ReadFinderRecords(path, isFolder, records);
    if ((which & kFSCatInfoFinderInfo) != 0) {
        std::memcpy(info.finderInfo, records.info, sizeof records.info);
    }
    if ((which & kFSCatInfoFinderXInfo) != 0) {
        std::memcpy(info.extFinderInfo, records.extended, sizeof records.extended);
    }
    return error;
}

// Replaces the records that `which` names and keeps the others.
int storeFinderRecords(const FSCatalogInfo& info, FSCatalogInfoBitmap which, const char* path,
                       bool isFolder) {
    FinderRecords records = {};
    if (const int error = ReadFinderRecords(path, isFolder, records); error != 0) {
        return error;
    }
    if ((which & kFSCatInfoFinderInfo) != 0) {
        std::memcpy(records.info, info.finderInfo, sizeof records.info);
    }
    if ((which & kFSCatInfoFinderXInfo) != 0) {
        std::memcpy(records.extended, info.extFinderInfo, sizeof records.extended);
    }
    return WriteFinderRecords(path, isFolder, records);
}

}  // namespace

OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpecPtr fsSpec, FSRef* parentRef) {
    const char* path = PathOf(ref);
    if (path == nullptr || (whichInfo & ~cKnownBits) != 0 || outName != nullptr ||
        fsSpec != nullptr || parentRef != nullptr || (whichInfo != 0 && catalogInfo == nullptr)) {
        return paramErr;
    }
    struct stat status = {};
    if (stat(path, &status) != 0) {
        return FileErrorOf(errno);
    }
    if (whichInfo != 0) {
        fillFromStatus(*catalogInfo, whichInfo, status);
    }
    if ((whichInfo & cFinderBits) != 0) {
        const int error = fillFinderRecords(*catalogInfo, whichInfo, path, S_ISDIR(status.st_mode));
        if (error != 0) {
            return FileErrorOf(error);
        }
    }
    return noErr;
}

OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                       const FSCatalogInfo* catalogInfo) {
    const char* path = PathOf(ref);
    if (path == nullptr || catalogInfo == nullptr || (whichInfo & ~cSettableBits) != 0) {
        return paramErr;
    }
    struct stat status = {};
    if (stat(path, &status) != 0) {
        return FileErrorOf(errno);
    }
    if ((whichInfo & cFinderBits) != 0) {
        const int error =
            storeFinderRecords(*catalogInfo, whichInfo, path, S_ISDIR(status.st_mode));
        if (error != 0) {
            return FileErrorOf(error);
        }
    }
    // The mode comes last, because one without writing would keep the records out.
    if ((whichInfo & kFSCatInfoPermissions) != 0 &&
        chmod(path, catalogInfo->permissions.mode & 07777U) != 0) {
        return FileErrorOf(errno);
    }
    return noErr;
}
