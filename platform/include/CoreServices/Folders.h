// Well-known folders.
#pragma once

#include <CoreServices/Files.h>

CF_EXTERN_C_BEGIN

enum {
    kOnSystemDisk = -32768,
    kOnAppropriateDisk = -32767,
    kSystemDomain = -32766,
    kLocalDomain = -32765,
    kNetworkDomain = -32764,
    kUserDomain = -32763
};

// 'asup'
enum { kApplicationSupportFolderType = 0x61737570 };
enum { kDontCreateFolder = 0, kCreateFolder = 1 };

// The application-support folder of the user (kUserDomain): $XDG_DATA_HOME, else ~/.local/share; or
// of the machine (kLocalDomain): $TV_MACHINE_DATA_DIR, except in a set-user-ID program, else the
// build's default. A value that is not an absolute path counts as none. With `createFolder`, what
// is missing is made, the folders above it too, but never the home itself: for the user alone
// (0700) or readable by all (0755). fnfErr for another domain or type, and when there is no such
// folder; dupFNErr or dirNFErr when something else is in its place. `foundRef` is untouched on an
// error.
CF_EXPORT OSErr FSFindFolder(FSVolumeRefNum domain, OSType folderType, Boolean createFolder,
                             FSRef* foundRef);

CF_EXTERN_C_END
