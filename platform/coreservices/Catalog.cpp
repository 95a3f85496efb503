// Catalog information, and new folders.
#include "corefoundation/string/Utf8.h"
#include "coreservices/FileErrors.h"
#include "coreservices/FileReference.h"
#include "coreservices/FinderRecords.h"

#include <CoreServices/Files.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace tvplatform;

namespace {

constexpr FSCatalogInfoBitmap cFinderBits = kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;
constexpr FSCatalogInfoBitmap cSettableBits = kFSCatInfoPermissions | cFinderBits;
constexpr FSCatalogInfoBitmap cKnownBits =
    cSettableBits | kFSCatInfoNodeFlags | kFSCatInfoDataSizes;
constexpr UInt64 cStatBlock = 512;  // bytes, whatever the file system's own

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

// Replaces the records that `which` names and keeps the other.
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

OSErr copyName(std::string_view path, HFSUniStr255& name) {
    const auto text = DecodeUtf8(path == "/" ? path : path.substr(path.rfind('/') + 1));
    if (!text || text->size() > std::size(name.unicode)) {
        return bdNamErr;
    }
    name.length = static_cast<UInt16>(text->size());
    std::copy(text->begin(), text->end(), name.unicode);
    return noErr;
}

void copyParent(std::string_view path, FSRef& parent) {
    const size_t slash = path.rfind('/');
    parent = {};
    if (path != "/") {
        std::memcpy(parent.hidden, path.data(), std::max<size_t>(slash, 1));
    }
}

}  // namespace

OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpecPtr fsSpec, FSRef* parentRef) {
    const char* path = PathOf(ref);
    if (path == nullptr || (whichInfo & ~cKnownBits) != 0 || fsSpec != nullptr ||
        (whichInfo != 0 && catalogInfo == nullptr)) {
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
    const OSErr nameError = outName != nullptr ? copyName(path, *outName) : OSErr{noErr};
    if (parentRef != nullptr) {
        copyParent(std::string(path), *parentRef);  // a copy, since the two may be one
    }
    return nameError;
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
    // Last, because a mode without writing would keep the records out.
    if ((whichInfo & kFSCatInfoPermissions) != 0 &&
        chmod(path, catalogInfo->permissions.mode & 07777U) != 0) {
        return FileErrorOf(errno);
    }
    return noErr;
}

OSErr FSCreateDirectoryUnicode(const FSRef* parentRef, UniCharCount nameLength, const UniChar* name,
                               FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* catalogInfo,
                               FSRef* newRef, FSSpecPtr newSpec, UInt32* newDirID) {
    const char* parent = PathOf(parentRef);
    if (parent == nullptr || (name == nullptr && nameLength != 0) || newSpec != nullptr ||
        newDirID != nullptr || (whichInfo != 0 && catalogInfo == nullptr)) {
        return paramErr;
    }
    // No file system has names of more bytes than that, let alone of more units.
    const auto text = nameLength <= std::size(HFSUniStr255().unicode)
                          ? EncodeUtf8(std::u16string(name, name + nameLength))
                          : std::nullopt;
    if (!text || text->empty() || *text == "." || *text == ".." ||
        text->find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        return bdNamErr;
    }
    const std::string path = std::string(parent) + "/" + *text;
    if (mkdir(path.c_str(), 0777) != 0) {
        return FileErrorOf(errno);
    }
    FSRef made = {};
    OSErr error = FileErrorOf(MakeReference(path.c_str(), made));
    if (error == noErr && whichInfo != 0) {
        error = FSSetCatalogInfo(&made, whichInfo, catalogInfo);
    }
    if (error != noErr) {
        rmdir(path.c_str());
    } else if (newRef != nullptr) {
        *newRef = made;
    }
    return error;
}
