// SPDX-License-Identifier: LicenseRef-TVframework
// Web and file URLs, and percent escapes. A URL never changes, so
// any thread may use it. The time of each function is in proportion to the lengths given.
//
// A file URL stands for a POSIX path, which is bytes. Each byte that a URL may not hold is escaped,
// so a path that is not UTF-8 comes back byte for byte. The file-system form of a path never ends
// in
// "/", except "/" itself. Doubled slashes and the dots of an absolute path stay as they are.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFURL* CFURLRef;
struct FSRef;

CF_EXPORT CFTypeID CFURLGetTypeID(void);

// Makes a URL from a path of `bufLen` bytes. A relative path gets the process's current folder of
// this moment as its base, and the dots at its front are followed when the two are joined: a ".."
// behind a name stays, because the name may be a symbolic link. If `isDirectory` is true, the URL
// ends in "/". Returns null if the path is empty or has a zero byte, or if it is relative and there
// is no current folder.
CF_EXPORT CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator,
                                                           const UInt8* buffer, CFIndex bufLen,
                                                           Boolean isDirectory);
// Returns null unless the text is a URL or a relative reference by RFC 3986: it has no character
// that must be escaped, no malformed escape, scheme, host or port, and it is not empty. `baseURL`
// must be null, else the result is null.
CF_EXPORT CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef URLString,
                                         CFURLRef baseURL);

// The URL's own text, with its escapes and without its base; borrowed.
CF_EXPORT CFStringRef CFURLGetString(CFURLRef url);
// The URL's own path with its escapes and without a leading "/", not resolved. `isAbsolute`, which
// may be null, tells whether there was a "/". Returns null if the path is not made of components,
// as that of "mailto:x".
CF_EXPORT CFStringRef CFURLCopyStrictPath(CFURLRef url, Boolean* isAbsolute);
// Writes the path and a zero byte. Returns false, and leaves the buffer as it is, if that takes
// more than `maxBufLen` bytes, if the URL is not of this machine's files, or if its path has "%00"
// or
// "%2F" in it.
CF_EXPORT Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase,
                                                   UInt8* buffer, CFIndex maxBufLen);

// Puts the component behind one "/" as it is: "a/b" adds two levels, and "/x" an empty one and x.
// An empty component gives the folder itself. A query and a fragment stay behind the path.
CF_EXPORT CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                                         CFStringRef pathComponent,
                                                         Boolean isDirectory);
// The containing folder, which ends in "/". The last component goes, also if it is "." or "..". So
// every step shortens the resolved path, and the last one gives "/", whose folder is "/". A
// relative URL with a base goes up through its base; one without a base ends at "./".
CF_EXPORT CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);

// These two come with <CoreServices/CoreServices.h>. A symbolic link stands for its target.
// CFURLGetFSRef returns false, and leaves the reference as it is, if the object does not exist or
// cannot be reached.
CF_EXPORT Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* fsRef);
CF_EXPORT CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const struct FSRef* fsRef);

// Replace each escape by its byte, and read adjoining bytes as UTF-8 (or as `encoding`). The
// escapes of the given ASCII characters stay; if that set is null, all escapes stay. Return null if
// an escape is malformed or the bytes are not valid in the encoding.
CF_EXPORT CFStringRef CFURLCreateStringByReplacingPercentEscapes(
    CFAllocatorRef allocator, CFStringRef originalString, CFStringRef charactersToLeaveEscaped);
CF_EXPORT CFStringRef CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
    CFAllocatorRef allocator, CFStringRef origString, CFStringRef charsToLeaveEscaped,
    CFStringEncoding encoding);
// Leaves ASCII letters, digits and !$&'()*+,-./:;=?@_~ alone. Escapes the bytes in `encoding` of
// all other characters, with capital digits. The two sets may be null. A character in both is
// escaped. Returns null if the encoding cannot hold a character that is to be escaped.
CF_EXPORT CFStringRef CFURLCreateStringByAddingPercentEscapes(
    CFAllocatorRef allocator, CFStringRef originalString, CFStringRef charactersToLeaveUnescaped,
    CFStringRef legalURLCharactersToBeEscaped, CFStringEncoding encoding);

CF_EXTERN_C_END
