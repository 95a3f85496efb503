// SPDX-License-Identifier: LicenseRef-TVframework
// Numbers (64-bit integers and floating point) and the two Booleans. They never change.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFNumber* CFNumberRef;

typedef CFIndex CFNumberType;
enum {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberNSIntegerType = 15,
    kCFNumberCGFloatType = 16,
    kCFNumberMaxType = 16
};

CF_EXPORT const CFBooleanRef kCFBooleanTrue;
CF_EXPORT const CFBooleanRef kCFBooleanFalse;

CF_EXPORT CFTypeID CFBooleanGetTypeID(void);
CF_EXPORT Boolean CFBooleanGetValue(CFBooleanRef boolean);

CF_EXPORT CFTypeID CFNumberGetTypeID(void);
// Returns null if `value` is null or the type is unknown. A char counts as signed.
CF_EXPORT CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type,
                                     const void* value);
// Returns the type of fixed width (1 to 6) that has the size of the type that the number was made
// with, or 0 if `number` is no number.
CF_EXPORT CFNumberType CFNumberGetType(CFNumberRef number);
CF_EXPORT Boolean CFNumberIsFloatType(CFNumberRef number);
// Stores the number as `type`. Returns false if it does not fit exactly. Then the stored value is
// the nearest one if an integer is out of range, the number without its fraction (0 for
// not-a-number) if an integer is made from floating point, and the rounded one for floating point.
// Stores nothing and returns false if `number` is no number, `value` is null or the type is
// unknown.
CF_EXPORT Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);
// Compares by value, whatever the types are, without rounding. Not-a-number equals itself and comes
// before all other numbers. Anything that is no number comes before every number. `context` has no
// effect.
CF_EXPORT CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void* context);

CF_EXTERN_C_END
