// What the two Finder records of an object's catalog information hold, in the machine's byte order.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef struct Point {
    SInt16 v;
    SInt16 h;
} Point;

typedef struct Rect {
    SInt16 top;
    SInt16 left;
    SInt16 bottom;
    SInt16 right;
} Rect;

enum { kIsInvisible = 0x4000 };

typedef struct FileInfo {
    OSType fileType;
    OSType fileCreator;
    UInt16 finderFlags;
    Point location;
    UInt16 reservedField;
} FileInfo;

typedef struct FolderInfo {
    Rect windowBounds;
    UInt16 finderFlags;
    Point location;
    UInt16 reservedField;
} FolderInfo;

typedef struct ExtendedFileInfo {
    SInt16 reserved1[4];
    UInt16 extendedFinderFlags;
    SInt16 reserved2;
    SInt32 putAwayFolderID;
} ExtendedFileInfo;

typedef struct ExtendedFolderInfo {
    Point scrollPosition;
    SInt32 reserved1;
    UInt16 extendedFinderFlags;
    SInt16 reserved2;
    SInt32 putAwayFolderID;
} ExtendedFolderInfo;
