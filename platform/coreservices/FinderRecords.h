// The Finder records of files and folders, as kept in an extended attribute: 16 bytes and 16
// extended bytes, with their fields in big-endian order, as on every other system that keeps them.
#pragma once

#include <CoreFoundation/CFBase.h>

namespace tvplatform {

// With the fields in the machine's order. Folders have other fields than files.
struct FinderRecords {
    UInt8 info[16];
    UInt8 extended[16];
};

// Zeros where there are none, where they are not of this size, and where the file system has no
// attributes. 0, or the error number.
int ReadFinderRecords(const char* path, bool isFolder, FinderRecords& records);
// Without an effect where the file system has no attributes.
int WriteFinderRecords(const char* path, bool isFolder, const FinderRecords& records);

}  // namespace tvplatform
