// SPDX-License-Identifier: LicenseRef-TVframework
// The types that everything else builds on, and the reference counts.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define CF_EXTERN_C_BEGIN extern "C" {
#define CF_EXTERN_C_END }
#else
#define CF_EXTERN_C_BEGIN
#define CF_EXTERN_C_END
#endif
#define CF_EXPORT __attribute__((visibility("default"))) extern

CF_EXTERN_C_BEGIN

typedef unsigned char Boolean;
typedef signed char SInt8;
typedef unsigned char UInt8;
typedef int16_t SInt16;
typedef uint16_t UInt16;
typedef int32_t SInt32;
typedef uint32_t UInt32;
typedef int64_t SInt64;
typedef uint64_t UInt64;
typedef uint16_t UniChar;
typedef unsigned long UniCharCount;
typedef SInt16 OSErr;
typedef SInt32 OSStatus;
typedef UInt32 OSType;

typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef long CFIndex;
typedef const void* CFTypeRef;
// A string, number, Boolean or data, or an array or dictionary of property lists.
typedef CFTypeRef CFPropertyListRef;
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;

typedef const struct __CFString* CFStringRef;
typedef struct __CFString* CFMutableStringRef;
typedef const struct __CFAllocator* CFAllocatorRef;

typedef enum CFComparisonResult {
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
} CFComparisonResult;

static const CFIndex kCFNotFound = -1;

typedef struct CFRange {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    CFRange range;
    range.location = location;
    range.length = length;
    return range;
}

// These rules hold for all functions. The result of a Create or Copy function belongs to the
// caller, who releases it; that of a Get function is borrowed. If an argument is null, an object of
// another type or a position out of range, a function returns null, false or 0 and changes nothing.
// If memory runs out, the function throws std::bad_alloc. Any number of threads may use an
// immutable object at a time; only one may use a mutable object.

// An `allocator` argument has no effect, since objects live on the C++ heap. As the deallocator of
// given bytes, kCFAllocatorDefault (null) and kCFAllocatorMalloc stand for `free`; kCFAllocatorNull
// leaves the bytes to the caller.
CF_EXPORT const CFAllocatorRef kCFAllocatorDefault;
CF_EXPORT const CFAllocatorRef kCFAllocatorMalloc;
CF_EXPORT const CFAllocatorRef kCFAllocatorNull;

// Any thread may call these. They do nothing for null. CFRetain returns its argument.
CF_EXPORT CFTypeRef CFRetain(CFTypeRef object);
CF_EXPORT void CFRelease(CFTypeRef object);
// Returns 0 for null, and the largest CFIndex for an object that never dies.
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef object);
// Returns 0, which is no type's number, for null.
CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef object);
// Compares objects of one type by value. Null equals only null. Below 200 levels of containers,
// only the same object is equal.
CF_EXPORT Boolean CFEqual(CFTypeRef a, CFTypeRef b);
// Equal objects have equal hashes. The hash of null is 0, that of a container is its count.
CF_EXPORT CFHashCode CFHash(CFTypeRef object);
// Returns a text for people: the text of a string, number, Boolean or URL, "(null)" for null, and a
// word for the type otherwise.
CF_EXPORT CFStringRef CFCopyDescription(CFTypeRef object);

CF_EXTERN_C_END
