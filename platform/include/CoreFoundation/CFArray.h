// SPDX-License-Identifier: LicenseRef-TVframework
// Values in order. With kCFTypeArrayCallBacks the values are objects, which an array retains and
// compares by value. Without callbacks (null) they are bare pointers.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;

// The members have the meaning that they have for a dictionary's values.
typedef struct CFArrayCallBacks {
    CFIndex version;
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value);
    Boolean (*equal)(const void* a, const void* b);
} CFArrayCallBacks;

// For values that are objects. An array does not store a null value.
CF_EXPORT const CFArrayCallBacks kCFTypeArrayCallBacks;

CF_EXPORT CFTypeID CFArrayGetTypeID(void);

// Copies `count` values. Returns null if the count is negative, if `values` is null although the
// count is not 0, or if one of the values cannot be stored.
CF_EXPORT CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                                   const CFArrayCallBacks* callBacks);
// `capacity` has no effect.
CF_EXPORT CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFArrayCallBacks* callBacks);

CF_EXPORT CFIndex CFArrayGetCount(CFArrayRef array);
CF_EXPORT const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

// These two change a mutable array only.
CF_EXPORT void CFArrayAppendValue(CFMutableArrayRef array, const void* value);
CF_EXPORT void CFArrayRemoveAllValues(CFMutableArrayRef array);

CF_EXTERN_C_END
