// SPDX-License-Identifier: LicenseRef-TVframework
// File references and catalog information. Any thread may call everything here. Each call asks the
// file system anew, and returns paramErr for a null pointer that stands for an object or a result.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreServices/MacErrors.h>

CF_EXTERN_C_BEGIN

// Stands for an object that existed when the reference was made. It holds the canonical path, ended
// by a zero byte, owns nothing and may be copied. It does not follow an object that is renamed. A
// reference of zero bytes stands for no object: every call refuses it with paramErr.
typedef struct FSRef {
    UInt8 hidden[4096];
} FSRef;

typedef SInt16 FSVolumeRefNum;
// This type has no meaning here. Its pointers are null.
typedef struct FSSpec* FSSpecPtr;

typedef struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
} HFSUniStr255;

typedef UInt32 FSCatalogInfoBitmap;
enum {
    kFSCatInfoNodeFlags = 0x00000002,
    kFSCatInfoPermissions = 0x00000400,
    kFSCatInfoFinderInfo = 0x00000800,
    kFSCatInfoFinderXInfo = 0x00001000,
    kFSCatInfoDataSizes = 0x00004000
};

enum { kFSNodeIsDirectoryMask = 0x0010 };

typedef struct __FSFileSecurity* FSFileSecurityRef;

// `mode` is the POSIX mode, with the kind of the object. `fileSec` is null: there are no security
// objects here.
typedef struct FSPermissionInfo {
    UInt32 userID;
    UInt32 groupID;
    UInt8 reserved1;
    UInt8 userAccess;
    UInt16 mode;
    FSFileSecurityRef fileSec;
} FSPermissionInfo;

// The two Finder records hold their fields in the machine's byte order. See
// <CoreServices/Finder.h>.
typedef struct FSCatalogInfo {
    UInt16 nodeFlags;
    FSPermissionInfo permissions;
    UInt8 finderInfo[16];
    UInt8 extFinderInfo[16];
    UInt64 dataLogicalSize;
    UInt64 dataPhysicalSize;
} FSCatalogInfo;

// Fills the fields that `whichInfo` names; other bits than those above are paramErr. `outName`,
// `fsSpec` and `parentRef` must be null, else the result is paramErr. Sizes are in bytes, and 0 for
// a folder. A Finder record that was never written is zero. After an error the fields have no
// defined value.
CF_EXPORT OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                                 FSCatalogInfo* catalogInfo, HFSUniStr255* outName,
                                 FSSpecPtr fsSpec, FSRef* parentRef);
// Sets the Finder records, and of the permissions the twelve bits of `mode`. Finder records are
// kept as an extended attribute. A file system that has no attributes drops them without an error.
// Node flags and sizes cannot be set: the result is paramErr, and nothing is changed.
CF_EXPORT OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                                 const FSCatalogInfo* catalogInfo);

CF_EXTERN_C_END
