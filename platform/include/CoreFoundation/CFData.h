// Bytes that never change.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFData* CFDataRef;

CF_EXPORT CFTypeID CFDataGetTypeID(void);

// Copies `length` bytes. Returns null if the length is negative, or if `bytes` is null although the
// length is not 0.
CF_EXPORT CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);

CF_EXPORT CFIndex CFDataGetLength(CFDataRef data);
// The pointer is valid as long as the object. It is not null if the data is empty.
CF_EXPORT const UInt8* CFDataGetBytePtr(CFDataRef data);

CF_EXTERN_C_END
