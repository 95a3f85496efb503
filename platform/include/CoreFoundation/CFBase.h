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
// A string, number, Boolean, data, array or dictionary, the containers of such in turn.
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

// Conventions of the whole family. Whatever a Create or Copy function returns belongs to the
// caller, who releases it; what a Get function returns is borrowed. Null, an object of another
// type, or a position out of range makes a function answer null, false or 0 and change nothing.
// When memory runs out, std::bad_alloc leaves the function. Immutable objects may be used by any
// number of threads at a time, a mutable one by one thread at a time.

// An `allocator` argument says nothing here: objects live on the C++ heap. As a deallocator of
// bytes handed over, kCFAllocatorDefault (null) and kCFAllocatorMalloc are `free`, kCFAllocatorNull
// leaves the bytes to the caller.
CF_EXPORT const CFAllocatorRef kCFAllocatorDefault;
CF_EXPORT const CFAllocatorRef kCFAllocatorMalloc;
CF_EXPORT const CFAllocatorRef kCFAllocatorNull;

// Any thread. Null is ignored (CFRetain gives null back).
CF_EXPORT CFTypeRef CFRetain(CFTypeRef object);
CF_EXPORT void CFRelease(CFTypeRef object);
// 0 for null; immortal objects answer the largest CFIndex.
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef object);
// 0, which is no type's number, for null.
CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef object);
// Equal by value within one type; null equals only null. Containers nested more than 200 deep are
// equal below that depth only where they are the same objects.
CF_EXPORT Boolean CFEqual(CFTypeRef a, CFTypeRef b);
// Equal objects have equal hashes; 0 for null. The hash of a container is taken from its count.
CF_EXPORT CFHashCode CFHash(CFTypeRef object);
// A text for people: that of a string or a number, otherwise a word for the type. "(null)" for
// null.
CF_EXPORT CFStringRef CFCopyDescription(CFTypeRef object);

CF_EXTERN_C_END
