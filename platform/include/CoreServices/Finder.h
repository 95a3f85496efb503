// SPDX-License-Identifier: LicenseRef-TVframework
// The Finder record of a file, as its catalog information holds it, in the machine's byte order.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef struct Point {
    SInt16 v;
    SInt16 h;
} Point;

enum { kIsInvisible = 0x4000 };

typedef struct FileInfo {
    OSType fileType;
    OSType fileCreator;
    UInt16 finderFlags;
    Point location;
    UInt16 reservedField;
} FileInfo;
