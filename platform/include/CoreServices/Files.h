// File references and catalog information. Any thread may call everything here; each call asks the
// file system anew. Null where an object or a result is needed is paramErr.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreServices/MacErrors.h>

CF_EXTERN_C_BEGIN

// An object that existed when the reference was made: its canonical path, ended by a zero byte. It
// owns nothing and may be copied; it does not follow an object that is renamed. All zero bytes are
// a reference to nothing, which every call refuses with paramErr.
typedef struct FSRef {
    UInt8 hidden[4096];
} FSRef;

typedef SInt16 FSVolumeRefNum;
// Has no meaning here; always null.
typedef struct FSSpec* FSSpecPtr;

typedef struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
} HFSUniStr255;

typedef UInt32 FSCatalogInfoBitmap;
enum {
    kFSCatInfoNone = 0x00000000,
    kFSCatInfoNodeFlags = 0x00000002,
    kFSCatInfoPermissions = 0x00000400,
    kFSCatInfoFinderInfo = 0x00000800,
    kFSCatInfoFinderXInfo = 0x00001000,
    kFSCatInfoDataSizes = 0x00004000
};

enum { kFSNodeIsDirectoryBit = 4, kFSNodeIsDirectoryMask = 0x0010 };

typedef struct __FSFileSecurity* FSFileSecurityRef;

// `mode` is POSIX's, kind of object included. There is no security object here: `fileSec` is null.
typedef struct FSPermissionInfo {
    UInt32 userID;
    UInt32 groupID;
    UInt8 reserved1;
    UInt8 userAccess;
    UInt16 mode;
    FSFileSecurityRef fileSec;
} FSPermissionInfo;

// The two Finder records are those of <CoreServices/Finder.h>, with their fields in the machine's
// byte order.
typedef struct FSCatalogInfo {
    UInt16 nodeFlags;
    FSPermissionInfo permissions;
    UInt8 finderInfo[16];
    UInt8 extFinderInfo[16];
    UInt64 dataLogicalSize;
    UInt64 dataPhysicalSize;
} FSCatalogInfo;

// By path; a symbolic link stands for its target. `isDirectory` may be null.
CF_EXPORT OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);
// Writes the path and a zero byte; bdNamErr when that takes more than `pathBufferSize` bytes.
CF_EXPORT OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 pathBufferSize);

// Fills the fields that `whichInfo` names (other bits than those above are paramErr) and, where
// they are not null, the name and the containing folder (all zero for "/"). Sizes are in bytes, 0
// for a folder. Finder records that nobody wrote are zero. After an error the outputs have no
// defined value.
CF_EXPORT OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                                 FSCatalogInfo* catalogInfo, HFSUniStr255* outName,
                                 FSSpecPtr fsSpec, FSRef* parentRef);
// Of the permissions, the twelve bits of `mode` are set, and nothing else. Finder records are kept
// as an extended attribute; a file system that has none drops them, without an error. Node flags
// and sizes cannot be set: paramErr, and nothing is changed.
CF_EXPORT OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo,
                                 const FSCatalogInfo* catalogInfo);
// Makes a folder and sets the information that `whichInfo` names; when that fails the folder is
// removed. `catalogInfo` and `newRef` may be null, `newSpec` and `newDirID` must be. bdNamErr for
// an empty name, ".", "..", one with "/" or a zero unit, and one that is not Unicode.
CF_EXPORT OSErr FSCreateDirectoryUnicode(const FSRef* parentRef, UniCharCount nameLength,
                                         const UniChar* name, FSCatalogInfoBitmap whichInfo,
                                         const FSCatalogInfo* catalogInfo, FSRef* newRef,
                                         FSSpecPtr newSpec, UInt32* newDirID);

CF_EXTERN_C_END
