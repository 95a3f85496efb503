#include "coreservices/FinderRecords.h"

#include <CoreServices/Finder.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <sys/xattr.h>

namespace tvplatform {

namespace {

constexpr char cAttribute[] = "user.com.apple.FinderInfo";

// The widths of a record's fields in bytes, up to a zero.
using Layout = UInt8[9];
constexpr Layout cFileLayout = {4, 4, 2, 2, 2, 2};
constexpr Layout cFolderLayout = {2, 2, 2, 2, 2, 2, 2, 2};
constexpr Layout cExtendedFileLayout = {2, 2, 2, 2, 2, 2, 4};
constexpr Layout cExtendedFolderLayout = {2, 2, 4, 2, 2, 4};

// Each record is 16 bytes without padding, so the widths above are its whole description.
static_assert(sizeof(FileInfo) == 16 && sizeof(FolderInfo) == 16 &&
              sizeof(ExtendedFileInfo) == 16 && sizeof(ExtendedFolderInfo) == 16);

// Turns fields from the machine's order into big-endian order, or back.
void convert(UInt8* record, const Layout& layout) {
    if constexpr (std::endian::native == std::endian::little) {
        for (const UInt8* width = layout; *width != 0; record += *width++) {
            std::reverse(record, record + *width);
        }
    }
}

void convert(FinderRecords& records, bool isFolder) {
    convert(records.info, isFolder ? cFolderLayout : cFileLayout);
    convert(records.extended, isFolder ? cExtendedFolderLayout : cExtendedFileLayout);
}

}  // namespace

int ReadFinderRecords(const char* path, bool isFolder, FinderRecords& records) {
    records = {};
    const ssize_t size = getxattr(path, cAttribute, &records, sizeof records);
    if (size == static_cast<ssize_t>(sizeof records)) {
        convert(records, isFolder);
        return 0;
    }
    records = {};
    return size >= 0 || errno == ENODATA || errno == ENOTSUP || errno == ERANGE ? 0 : errno;
}

int WriteFinderRecords(const char* path, bool isFolder, const FinderRecords& records) {
    FinderRecords stored = records;
    convert(stored, isFolder);
    return setxattr(path, cAttribute, &stored, sizeof stored, 0) == 0 || errno == ENOTSUP ? 0
                                                                                          : errno;
}

}  // namespace tvplatform
