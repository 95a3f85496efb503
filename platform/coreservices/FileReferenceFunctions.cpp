// The C interface of the file references.
#include "coreservices/FileReference.h"

#include <CoreFoundation/CFURL.h>

#include <cstring>
#include <sys/stat.h>

using namespace tvplatform;

Boolean CFURLGetFSRef(CFURLRef url, FSRef* fsRef) {
    // The system cannot look up a longer path.
    UInt8 path[sizeof fsRef->hidden];
    return fsRef != nullptr &&
           CFURLGetFileSystemRepresentation(url, true, path, sizeof path) != 0 &&
           MakeReference(reinterpret_cast<const char*>(path), *fsRef) == 0;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* fsRef) {
    const char* path = PathOf(fsRef);
    if (path == nullptr) {
        return nullptr;
    }
    struct stat status = {};
    const bool isDirectory = stat(path, &status) == 0 && S_ISDIR(status.st_mode);
    return CFURLCreateFromFileSystemRepresentation(
        allocator, fsRef->hidden, static_cast<CFIndex>(std::strlen(path)), isDirectory);
}
