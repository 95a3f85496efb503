// The Finder records of files and folders. An extended attribute holds them: 16 bytes and 16
// extended bytes, with their fields in big-endian order, as on every other system that keeps them.
#pragma once

#include <CoreFoundation/CFBase.h>

namespace tvplatform {

// The fields are in the machine's order. Folders have other fields than files.
struct FinderRecords {
    UInt8 info[16];
    UInt8 extended[16];
};

// Returns 0 or the error number. The records are zeros if the object has none or some of another
// size, and if the file system has no attributes.
int ReadFinderRecords(const char* path, bool isFolder, FinderRecords& records);
// Returns 0 or the error number. Has no effect if the file system has no attributes.
int WriteFinderRecords(const char* path, bool isFolder, const FinderRecords& records);

}  // namespace tvplatform
