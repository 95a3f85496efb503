// SPDX-License-Identifier: LicenseRef-TVframework
// Well-known folders.
#pragma once

#include <CoreServices/Files.h>

CF_EXTERN_C_BEGIN

enum { kLocalDomain = -32765, kUserDomain = -32763 };

// 'asup'
enum { kApplicationSupportFolderType = 0x61737570 };

// Finds the application-support folder. That of the user (kUserDomain) is $XDG_DATA_HOME, else
// ~/.local/share. That of the machine (kLocalDomain) is $TV_MACHINE_DATA_DIR, except in a
// set-user-ID program, else the build's default. A value that is not an absolute path counts as
// none. With `createFolder`, the missing folders of the path are made, but never the home itself.
// The user's folders are for the user alone (0700), the machine's are readable by all (0755).
// Returns fnfErr for another domain or type, and if there is no such folder. Returns dupFNErr or
// dirNFErr if something else is in its place. `foundRef` is untouched after an error.
CF_EXPORT OSErr FSFindFolder(FSVolumeRefNum domain, OSType folderType, Boolean createFolder,
                             FSRef* foundRef);

CF_EXTERN_C_END
