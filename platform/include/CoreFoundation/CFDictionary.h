// SPDX-License-Identifier: LicenseRef-TVframework
// Values by key. With the callbacks for objects, a dictionary retains keys and values and compares
// them by value. Without callbacks (null) they are bare pointers. The keys have no order.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;

// The operations on keys and values. A dictionary copies the record. If `retain` or `release` is
// null, nothing is done; if `equal` or `hash` is null, pointers are compared. A dictionary stores
// what `retain` returns. The version is 0. `copyDescription` is not called.
typedef struct CFDictionaryKeyCallBacks {
    CFIndex version;
    const void* (*retain)(CFAllocatorRef allocator, const void* key);
    void (*release)(CFAllocatorRef allocator, const void* key);
    CFStringRef (*copyDescription)(const void* key);
    Boolean (*equal)(const void* a, const void* b);
    CFHashCode (*hash)(const void* key);
} CFDictionaryKeyCallBacks;

typedef struct CFDictionaryValueCallBacks {
    CFIndex version;
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value);
    Boolean (*equal)(const void* a, const void* b);
} CFDictionaryValueCallBacks;

// For keys and values that are objects. A dictionary does not store a null key or value.
CF_EXPORT const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
CF_EXPORT const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;
// For keys that are strings. A dictionary keeps immutable copies of them.
CF_EXPORT const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks;

CF_EXPORT CFTypeID CFDictionaryGetTypeID(void);

// The first of equal keys is kept. Returns null if the count is negative, if an array is null
// although the count is not 0, or if a key or a value cannot be stored.
CF_EXPORT CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys,
                                             const void** values, CFIndex count,
                                             const CFDictionaryKeyCallBacks* keyCallBacks,
                                             const CFDictionaryValueCallBacks* valueCallBacks);
// An immutable dictionary is its own copy.
CF_EXPORT CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef allocator,
                                                 CFDictionaryRef dictionary);
// `capacity` has no effect.
CF_EXPORT CFMutableDictionaryRef CFDictionaryCreateMutable(
    CFAllocatorRef allocator, CFIndex capacity, const CFDictionaryKeyCallBacks* keyCallBacks,
    const CFDictionaryValueCallBacks* valueCallBacks);
CF_EXPORT CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator,
                                                               CFIndex capacity,
                                                               CFDictionaryRef dictionary);

CF_EXPORT CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
CF_EXPORT Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);
// Returns null if the key is absent.
CF_EXPORT const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
// `value` may be null. It stays as it is if the key is absent.
CF_EXPORT Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key,
                                                const void** value);
// Fills two arrays of CFDictionaryGetCount places in the same order. Either may be null.
CF_EXPORT void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                            const void** values);

// These change a mutable dictionary only. CFDictionaryAddValue does nothing if the key is there.
CF_EXPORT void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key,
                                    const void* value);
// If an equal key is there, the dictionary keeps that key and replaces its value.
CF_EXPORT void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key,
                                    const void* value);
CF_EXPORT void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key);

CF_EXTERN_C_END
