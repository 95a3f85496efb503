#include "coreservices/FinderRecords.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <sys/xattr.h>

namespace tvplatform {

namespace {

constexpr char cAttribute[] = "user.com.apple.FinderInfo";

// The widths of the fields of a record in bytes, up to a zero.
using Layout = UInt8[9];
constexpr Layout cFileLayout = {4, 4, 2, 2, 2, 2};  // type, creator, flags, location (2), reserved
constexpr Layout cFolderLayout = {2, 2, 2, 2,
                                  2, 2, 2, 2};  // window (4), flags, location (2), reserved
constexpr Layout cExtendedFileLayout = {2, 2, 2, 2,
                                        2, 2, 4};  // reserved (4), flags, reserved, folder
constexpr Layout cExtendedFolderLayout = {2, 2, 4, 2,
                                          2, 4};  // scroll (2), reserved, flags, reserved, folder

constexpr int sizeOf(const Layout& layout) {
    int size = 0;
    for (const UInt8 width : layout) {
        size += width;
    }
    return size;
}
static_assert(sizeOf(cFileLayout) == 16 && sizeOf(cFolderLayout) == 16 &&
              sizeOf(cExtendedFileLayout) == 16 && sizeOf(cExtendedFolderLayout) == 16);

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
