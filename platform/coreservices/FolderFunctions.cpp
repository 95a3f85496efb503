// The C interface of the well-known folders.
#include "coreservices/FileErrors.h"
#include "coreservices/FileReference.h"
#include "posix/UserFolders.h"

#include <CoreServices/Folders.h>

#include <cstdlib>
#include <optional>
#include <sys/stat.h>

using namespace tvplatform;

namespace {

tvposix::FolderPlace findMachineFolder() {
    const auto named = tvposix::AbsolutePath(secure_getenv("TV_MACHINE_DATA_DIR"));
    return {named.value_or(TV_DEFAULT_MACHINE_DATA_DIR), "/"};
}

}  // namespace

OSErr FSFindFolder(FSVolumeRefNum domain, OSType folderType, Boolean createFolder,
                   FSRef* foundRef) {
    if (foundRef == nullptr) {
        return paramErr;
    }
    const bool ofUser = domain == kUserDomain;
    if (folderType != kApplicationSupportFolderType || (!ofUser && domain != kLocalDomain)) {
        return fnfErr;
    }
    const auto place = ofUser ? tvposix::FindDataFolder() : std::optional(findMachineFolder());
    if (!place) {
        return fnfErr;
    }
    tvposix::Descriptor folder;
    const int error =
        createFolder != 0 ? tvposix::OpenFolder(*place, ofUser ? 0700 : 0755, folder) : 0;
    // With the slash only a folder is found.
    return FileErrorOf(error != 0 ? error : MakeReference((place->path + "/").c_str(), *foundRef));
}
