// Text: a sequence of UTF-16 units. Lengths, positions and ranges count units. Conversions are
// strict: bytes that are not valid in an encoding, and text that an encoding cannot hold, make the
// conversion fail as a whole with its outputs untouched, unless a function says otherwise.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>

#include <stdarg.h>

CF_EXTERN_C_BEGIN

// More encodings than these are known by their published numbers (see
// CFStringConvertIANACharSetNameToEncoding); those that have none get a number that holds for the
// process.
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
    kCFStringEncodingUTF32 = 0x0c000100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
    kCFStringEncodingUTF32BE = 0x18000100,
    kCFStringEncodingUTF32LE = 0x1c000100
};

typedef CFOptionFlags CFStringCompareFlags;
// Without case, the letters of ASCII, Latin-1, Latin Extended-A, modern Greek and Cyrillic pair up;
// no other letters do. Options that are not named here have no effect.
enum { kCFCompareCaseInsensitive = 1, kCFCompareBackwards = 4, kCFCompareAnchored = 8 };

CF_EXPORT CFTypeID CFStringGetTypeID(void);

// The constant with that text (ASCII or UTF-8; null when it is neither), the same object for the
// same text. It lives as long as the process. Any thread.
#define CFSTR(text) __CFStringMakeConstantString("" text "")
CF_EXPORT CFStringRef __CFStringMakeConstantString(const char* text);

// Creation. Null for null, for a negative length, and for bytes that are not valid in `encoding`.
// The C string functions serve encodings without zero bytes inside characters: not UTF-16, UTF-32.
CF_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                                CFStringEncoding encoding);
// The bytes are converted at once and need not outlive the call. Unless the deallocator is
// kCFAllocatorNull they are freed here, but not when null comes back.
CF_EXPORT CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef allocator, const char* text,
                                                      CFStringEncoding encoding,
                                                      CFAllocatorRef contentsDeallocator);
// An external representation may begin with a byte-order mark, which is dropped; UTF-16 and UTF-32
// without one are big-endian then, and in the machine's order otherwise.
CF_EXPORT CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes,
                                              CFIndex numBytes, CFStringEncoding encoding,
                                              Boolean isExternalRepresentation);
// Any units, unpaired surrogates too.
CF_EXPORT CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar* chars,
                                                   CFIndex numChars);
CF_EXPORT CFStringRef CFStringCreateWithSubstring(CFAllocatorRef allocator, CFStringRef string,
                                                  CFRange range);
// A path from the file system, as UTF-8.
CF_EXPORT CFStringRef CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator,
                                                                 const char* path);
// An immutable string is its own copy.
CF_EXPORT CFStringRef CFStringCreateCopy(CFAllocatorRef allocator, CFStringRef string);
// `maxLength` is a hint; a string may grow beyond it.
CF_EXPORT CFMutableStringRef CFStringCreateMutable(CFAllocatorRef allocator, CFIndex maxLength);
CF_EXPORT CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef allocator, CFIndex maxLength,
                                                       CFStringRef string);
// printf's %d %i %u %x %X %o %c %s %p %e %E %f %F %g %G %% with flags, width, precision and length,
// besides %@ (CFCopyDescription of an object) and %C (a unit). %s is text in the system encoding.
// "(null)" stands for null. Never the locale. Null for any other conversion, arguments by position
// included, for a width or precision above 100,000, and for text that cannot be decoded.
CF_EXPORT CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator,
                                               CFDictionaryRef formatOptions, CFStringRef format,
                                               ...);
CF_EXPORT CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef allocator,
                                                           CFDictionaryRef formatOptions,
                                                           CFStringRef format, va_list arguments);

// Reading.
CF_EXPORT CFIndex CFStringGetLength(CFStringRef string);
CF_EXPORT UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);
// Copies range.length units; nothing when the range does not lie in the string.
CF_EXPORT void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);
// The units, valid until the string changes or dies.
CF_EXPORT const UniChar* CFStringGetCharactersPtr(CFStringRef string);
// Always null: text is not kept as bytes. CFStringGetCString is the way.
CF_EXPORT const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
// Writes the text and a zero byte. False, with the buffer untouched, when that takes more than
// `bufferSize` bytes or the text cannot be encoded.
CF_EXPORT Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                                     CFStringEncoding encoding);
// Encodes as many characters of `range` as fit into `maxBufLen` bytes and can be encoded; returns
// how many units that was and stores how many bytes. A `lossByte` other than 0 stands for each
// character that cannot be encoded. A null buffer has no limit and only counts. An external
// representation in UTF-16 or UTF-32 begins with a byte-order mark.
CF_EXPORT CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                                   UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                                   CFIndex maxBufLen, CFIndex* usedBufLen);
// An upper bound in bytes, less the terminator, for any text of `length` units; kCFNotFound for an
// unknown encoding, a negative length or a number beyond CFIndex.
CF_EXPORT CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
// The path as UTF-8 with a zero byte. False, with the buffer untouched, when it does not fit,
// cannot be encoded or has a zero unit in it.
CF_EXPORT Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer,
                                                      CFIndex maxBufLen);
// Includes the terminator; kCFNotFound as above.
CF_EXPORT CFIndex CFStringGetMaximumSizeOfFileSystemRepresentation(CFStringRef string);

// Searching and comparing, unit by unit.
CF_EXPORT CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b,
                                             CFStringCompareFlags options);
CF_EXPORT Boolean CFStringHasPrefix(CFStringRef string, CFStringRef prefix);
CF_EXPORT Boolean CFStringHasSuffix(CFStringRef string, CFStringRef suffix);
// The first (backwards: the last) place, {kCFNotFound, 0} when there is none. An empty text is
// found nowhere. Takes time in proportion to the two lengths.
CF_EXPORT CFRange CFStringFind(CFStringRef string, CFStringRef toFind,
                               CFStringCompareFlags options);
// As above within `range`; anchored: only at its start (backwards: its end). `result` may be null
// and is untouched when nothing is found.
CF_EXPORT Boolean CFStringFindWithOptions(CFStringRef string, CFStringRef toFind, CFRange range,
                                          CFStringCompareFlags options, CFRange* result);

// Changing a mutable string; an immutable one stays as it is. The text put in may be the string
// itself.
CF_EXPORT void CFStringAppend(CFMutableStringRef string, CFStringRef appended);
CF_EXPORT void CFStringAppendCharacters(CFMutableStringRef string, const UniChar* chars,
                                        CFIndex numChars);
// Nothing is appended when the bytes are not valid in `encoding`.
CF_EXPORT void CFStringAppendCString(CFMutableStringRef string, const char* text,
                                     CFStringEncoding encoding);
// Nothing is appended where CFStringCreateWithFormat would answer null.
CF_EXPORT void CFStringAppendFormat(CFMutableStringRef string, CFDictionaryRef formatOptions,
                                    CFStringRef format, ...);
CF_EXPORT void CFStringInsert(CFMutableStringRef string, CFIndex index, CFStringRef inserted);
CF_EXPORT void CFStringDelete(CFMutableStringRef string, CFRange range);
CF_EXPORT void CFStringReplace(CFMutableStringRef string, CFRange range, CFStringRef replacement);
CF_EXPORT void CFStringReplaceAll(CFMutableStringRef string, CFStringRef replacement);
// Replaces every place in `range` where `toFind` stands, from its start on, never looking into
// what was put in, and returns how many there were. Backwards, places are looked for from the end;
// anchored, at most one is replaced. Takes time in proportion to the lengths before and after.
CF_EXPORT CFIndex CFStringFindAndReplace(CFMutableStringRef string, CFStringRef toFind,
                                         CFStringRef replacement, CFRange range,
                                         CFStringCompareFlags options);

// The encoding of 8-bit text of unnamed origin: the character set that the environment variable
// TV_SYSTEM_ENCODING names, else the build's default, else UTF-8; a name that iconv does not know
// counts as none. The locale has no say, nor has the variable in a set-user-ID program. The
// environment is read at every call: it must not be changed by another thread meanwhile.
CF_EXPORT CFStringEncoding CFStringGetSystemEncoding(void);
CF_EXPORT Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding);
// By any name that iconv knows, in any case; kCFStringEncodingInvalidId for another.
CF_EXPORT CFStringEncoding CFStringConvertIANACharSetNameToEncoding(CFStringRef name);
// A constant string, or null for an unknown encoding.
CF_EXPORT CFStringRef CFStringConvertEncodingToIANACharSetName(CFStringEncoding encoding);

CF_EXTERN_C_END
