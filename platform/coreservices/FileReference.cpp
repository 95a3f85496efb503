#include "coreservices/FileReference.h"

#include "coreservices/FileErrors.h"

#include <CoreFoundation/CFURL.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace tvplatform {

const char* PathOf(const FSRef* ref) {
    // A reference that nobody filled may hold anything.
    return ref != nullptr && ref->hidden[0] == '/' &&
                   std::memchr(ref->hidden, '\0', sizeof ref->hidden) != nullptr
               ? reinterpret_cast<const char*>(ref->hidden)
               : nullptr;
}

int MakeReference(const char* path, FSRef& ref) {
    const std::unique_ptr<char, decltype(&std::free)> canonical(realpath(path, nullptr),
                                                                &std::free);
    if (canonical == nullptr) {
        return errno;
    }
    const size_t length = std::strlen(canonical.get());
    if (length >= sizeof ref.hidden) {
        return ENAMETOOLONG;
    }
    ref = {};
    std::memcpy(ref.hidden, canonical.get(), length);
    return 0;
}

}  // namespace tvplatform

using namespace tvplatform;

OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory) {
    if (path == nullptr || ref == nullptr) {
        return paramErr;
    }
    FSRef found = {};
    struct stat status = {};
    if (const int error = MakeReference(reinterpret_cast<const char*>(path), found); error != 0) {
        return FileErrorOf(error);
    }
    if (stat(PathOf(&found), &status) != 0) {
        return FileErrorOf(errno);
    }
    *ref = found;
    if (isDirectory != nullptr) {
        *isDirectory = S_ISDIR(status.st_mode);
    }
    return noErr;
}

OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 pathBufferSize) {
    const char* text = PathOf(ref);
    if (text == nullptr || path == nullptr) {
        return paramErr;
    }
    const size_t size = std::strlen(text) + 1;
    if (size > pathBufferSize) {
        return bdNamErr;
    }
    std::memcpy(path, text, size);
    return noErr;
}

Boolean CFURLGetFSRef(CFURLRef url, FSRef* fsRef) {
    // Longer paths than that are beyond what the system can look up.
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
