// Bytes.
#pragma once

#include <CoreFoundation/CFBase.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFData* CFDataRef;
typedef struct __CFData* CFMutableDataRef;

CF_EXPORT CFTypeID CFDataGetTypeID(void);

// Copies the bytes. Null for a negative length, and for null bytes with a length.
CF_EXPORT CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
CF_EXPORT CFDataRef CFDataCreateCopy(CFAllocatorRef allocator, CFDataRef data);
// `capacity` is a hint.
CF_EXPORT CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator, CFIndex capacity);
CF_EXPORT CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                                   CFDataRef data);

CF_EXPORT CFIndex CFDataGetLength(CFDataRef data);
// Valid until the data changes or dies; not null for empty data.
CF_EXPORT const UInt8* CFDataGetBytePtr(CFDataRef data);
// Null for immutable data.
CF_EXPORT UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data);
// Copies range.length bytes; nothing when the range does not lie in the data.
CF_EXPORT void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer);

// Immutable data stays as it is. `bytes` must not lie in the data itself.
CF_EXPORT void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length);
// New bytes are 0.
CF_EXPORT void CFDataSetLength(CFMutableDataRef data, CFIndex length);

CF_EXTERN_C_END
