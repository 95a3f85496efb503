// Addresses: web and file URLs, absolute or relative to a base, and percent escapes. A URL is
// immutable; any thread may use it. Work grows in proportion to the lengths given.
//
// A file URL stands for a POSIX path, which is bytes. Each byte that a URL may not hold is escaped,
// so bytes that are not UTF-8 survive the way from a path to a URL and back; only what must be text
// (CFURLCopyFileSystemPath, CFURLCopyLastPathComponent) is null for them. A path that ends in "/",
// "." or ".." is a directory's. The file-system form of a path never ends in "/", except "/"
// itself. Doubled slashes and the dots of an absolute path stay as they are given.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

typedef const struct __CFURL* CFURLRef;
struct FSRef;

typedef CFIndex CFURLPathStyle;
enum { kCFURLPOSIXPathStyle = 0 };

CF_EXPORT CFTypeID CFURLGetTypeID(void);

// From a path of `bufLen` bytes. A relative path takes the process's current folder, as it is now,
// as its base. Null for an empty path, one with a zero byte, and a relative one without a current
// folder. A true `isDirectory` makes the URL end in "/"; a false one takes nothing away.
CF_EXPORT CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator,
                                                           const UInt8* buffer, CFIndex bufLen,
                                                           Boolean isDirectory);
// `baseURL` must be a file URL when it is not null; an absolute path has no need of it.
CF_EXPORT CFURLRef CFURLCreateFromFileSystemRepresentationRelativeToBase(CFAllocatorRef allocator,
                                                                         const UInt8* buffer,
                                                                         CFIndex bufLen,
                                                                         Boolean isDirectory,
                                                                         CFURLRef baseURL);
// As above, from text, as UTF-8. Null for any other path style.
CF_EXPORT CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef filePath,
                                                 CFURLPathStyle pathStyle, Boolean isDirectory);
CF_EXPORT CFURLRef CFURLCreateWithFileSystemPathRelativeToBase(CFAllocatorRef allocator,
                                                               CFStringRef filePath,
                                                               CFURLPathStyle pathStyle,
                                                               Boolean isDirectory,
                                                               CFURLRef baseURL);
// Null unless the text is a URL or a relative reference by RFC 3986: it has no character that must
// be escaped, no malformed escape and no malformed scheme, host or port, and it is not empty
// (unless there is a base).
CF_EXPORT CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef URLString,
                                         CFURLRef baseURL);

// The URL's own text, with its escapes and without its base; borrowed.
CF_EXPORT CFStringRef CFURLGetString(CFURLRef url);
// Borrowed; null when there is none.
CF_EXPORT CFURLRef CFURLGetBaseURL(CFURLRef url);
// Resolved against the base by RFC 3986. A file URL keeps a ".." that follows a name, since the
// name may be a symbolic link; those at the front take off the base's last components.
CF_EXPORT CFURLRef CFURLCopyAbsoluteURL(CFURLRef url);

// Parts that a relative URL lacks are its base's. Null when there is none; the host is without its
// escapes and brackets.
CF_EXPORT CFStringRef CFURLCopyScheme(CFURLRef url);
CF_EXPORT CFStringRef CFURLCopyHostName(CFURLRef url);
// -1 when there is none, or none that fits.
CF_EXPORT SInt32 CFURLGetPortNumber(CFURLRef url);
// The URL's own path with its escapes, not resolved. Null for an address without a hierarchy
// ("mailto:x"). The strict form lacks a leading "/" and says in `isAbsolute` (may be null) whether
// there was one.
CF_EXPORT CFStringRef CFURLCopyPath(CFURLRef url);
CF_EXPORT CFStringRef CFURLCopyStrictPath(CFURLRef url, Boolean* isAbsolute);
CF_EXPORT Boolean CFURLHasDirectoryPath(CFURLRef url);
// Without escapes and slashes; "/" for the root, empty for an empty path.
CF_EXPORT CFStringRef CFURLCopyLastPathComponent(CFURLRef url);

// The URL's own path in the file system's form, not resolved.
CF_EXPORT CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle pathStyle);
// Writes the path and a zero byte. False, with the buffer untouched, when that takes more than
// `maxBufLen` bytes, and for a URL that is not of this machine's files or that has "%00" or "%2F"
// in its path.
CF_EXPORT Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase,
                                                   UInt8* buffer, CFIndex maxBufLen);

// The component goes behind one "/", as it is: "a/b" adds two levels, and "/x" an empty one and x.
// An empty component gives the folder itself. A query and a fragment stay behind the path.
CF_EXPORT CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                                         CFStringRef pathComponent,
                                                         Boolean isDirectory);
// The containing folder, ending in "/". The last component goes, whatever it is (also "." and
// ".."), so every step shortens the resolved path and ends at "/", whose folder is "/". A relative
// URL with a base goes up through its base; without one it ends at "./".
CF_EXPORT CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);

// From <CoreServices/CoreServices.h>. False when the object does not exist or cannot be reached;
// a symbolic link stands for its target. The reference is untouched on failure.
CF_EXPORT Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* fsRef);
CF_EXPORT CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const struct FSRef* fsRef);

// Replaces each escape by its byte and reads those bytes as UTF-8 (or as `encoding`), except the
// ASCII characters to be left escaped: null leaves every escape, the empty string none. Null for a
// malformed escape, and for bytes that are not valid in the encoding.
CF_EXPORT CFStringRef CFURLCreateStringByReplacingPercentEscapes(
    CFAllocatorRef allocator, CFStringRef originalString, CFStringRef charactersToLeaveEscaped);
CF_EXPORT CFStringRef CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
    CFAllocatorRef allocator, CFStringRef origString, CFStringRef charsToLeaveEscaped,
    CFStringEncoding encoding);
// Leaves ASCII letters, digits and !$&'()*+,-./:;=?@_~ alone and escapes the bytes of all other
// characters in `encoding`, with capital digits. The two sets may be null; a character in both is
// escaped. Null when the encoding cannot hold a character that is to be escaped.
CF_EXPORT CFStringRef CFURLCreateStringByAddingPercentEscapes(
    CFAllocatorRef allocator, CFStringRef originalString, CFStringRef charactersToLeaveUnescaped,
    CFStringRef legalURLCharactersToBeEscaped, CFStringEncoding encoding);

CF_EXTERN_C_END
