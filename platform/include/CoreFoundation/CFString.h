// SPDX-License-Identifier: LicenseRef-TVframework
// Texts as sequences of UTF-16 units. Lengths, positions and ranges count units. Conversions are
// strict, unless a function says otherwise: if a byte is not valid in the encoding, or the encoding
// cannot hold a character, the whole conversion fails and its outputs stay as they are.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>

#include <stdarg.h>

CF_EXTERN_C_BEGIN

// Other encodings have their published numbers too. An encoding without one gets a number that is
// valid in this process only. CFStringGetSystemEncoding can return such numbers.
typedef UInt32 CFStringEncoding;
#define kCFStringEncodingInvalidId 0xffffffffU
enum {
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingUTF16 = 0x0100,
    kCFStringEncodingUnicode = 0x0100,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100
};

// There are no options: a value of this type has no effect.
typedef CFOptionFlags CFStringCompareFlags;

CF_EXPORT CFTypeID CFStringGetTypeID(void);

// The constant with that text, which is the same object for the same text and lives as long as the
// process. Returns null if the text is not UTF-8. Any thread may call this.
#define CFSTR(text) __CFStringMakeConstantString("" text "")
CF_EXPORT CFStringRef __CFStringMakeConstantString(const char* text);

// Creation. These return null if an argument is null, a length is negative, or the bytes are not
// valid in `encoding`. The functions on C strings do not serve UTF-16, whose characters have zero
// bytes in them.
CF_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                                CFStringEncoding encoding);
// Converts the bytes at once, so they need not outlive the call. If it succeeds and the deallocator
// is not kCFAllocatorNull, it frees the bytes.
CF_EXPORT CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef allocator, const char* text,
                                                      CFStringEncoding encoding,
                                                      CFAllocatorRef contentsDeallocator);
// UTF-16 without a named byte order is in the machine's order. A byte-order mark is a character.
// Returns null if `isExternalRepresentation` is true.
CF_EXPORT CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes,
                                              CFIndex numBytes, CFStringEncoding encoding,
                                              Boolean isExternalRepresentation);
// Takes any units, unpaired surrogates too.
CF_EXPORT CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar* chars,
                                                   CFIndex numChars);
// An immutable string is its own copy.
CF_EXPORT CFStringRef CFStringCreateCopy(CFAllocatorRef allocator, CFStringRef string);
// `maxLength` has no effect.
CF_EXPORT CFMutableStringRef CFStringCreateMutable(CFAllocatorRef allocator, CFIndex maxLength);
CF_EXPORT CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef allocator, CFIndex maxLength,
                                                       CFStringRef string);
// The conversions are %@ (the description of an object) and C's %d %i %u %x %X %c %s %p %f %g %%,
// with the flags "-" and "0", a width and a precision (numbers or "*"), and the lengths l, ll and
// z for integers; %C is a unit, and %lf is %f. %s and %c are text in the system encoding. A null
// object or text becomes
// "(null)". The locale has no effect. Returns null if the format has any other conversion or a
// width or precision above 100,000, or if a text cannot be decoded.
CF_EXPORT CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator,
                                               CFDictionaryRef formatOptions, CFStringRef format,
                                               ...);

// Reading.
CF_EXPORT CFIndex CFStringGetLength(CFStringRef string);
CF_EXPORT UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);
// Copies range.length units. Does nothing if the range does not lie in the string.
CF_EXPORT void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);
// Returns null always, since a string keeps no bytes. CFStringGetCString serves every string.
CF_EXPORT const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
// Writes the text and a zero byte. Returns false, and leaves the buffer as it is, if that takes
// more than `bufferSize` bytes, the text cannot be encoded, or it holds U+0000.
CF_EXPORT Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                                     CFStringEncoding encoding);
// Encodes as many characters of `range` as fit into `maxBufLen` bytes and can be encoded. Returns
// how many units these are, and stores how many bytes. A `lossByte` other than 0 stands for each
// character that cannot be encoded. If `buffer` is null, only counts, without a limit. Returns 0 if
// `isExternalRepresentation` is true.
CF_EXPORT CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                                   UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                                   CFIndex maxBufLen, CFIndex* usedBufLen);
// An upper bound in bytes, without the terminator, for any text of `length` units. Returns
// kCFNotFound if the encoding is unknown, the length is negative or the bound is beyond CFIndex.
CF_EXPORT CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

// Compares unit by unit.
CF_EXPORT CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b,
                                             CFStringCompareFlags options);

// These change a mutable string only. The text that is put in may be the string itself.
CF_EXPORT void CFStringAppend(CFMutableStringRef string, CFStringRef appended);
// Appends nothing if the bytes are not valid in `encoding`.
CF_EXPORT void CFStringAppendCString(CFMutableStringRef string, const char* text,
                                     CFStringEncoding encoding);
CF_EXPORT void CFStringReplaceAll(CFMutableStringRef string, CFStringRef replacement);

// The encoding of 8-bit texts of unnamed origin. It is the character set that the environment
// variable TV_SYSTEM_ENCODING names, else the build's default, else UTF-8. A name that iconv does
// not know has no effect, nor has the locale; a set-user-ID program ignores the variable. Each call
// reads the environment, so no other thread may change it meanwhile.
CF_EXPORT CFStringEncoding CFStringGetSystemEncoding(void);
// Returns the encoding of the character set with that name, in any case, or
// kCFStringEncodingInvalidId if iconv does not know the name.
CF_EXPORT CFStringEncoding CFStringConvertIANACharSetNameToEncoding(CFStringRef name);

CF_EXTERN_C_END
