// Preferences: values by key in domains that are named by an application's identifier, kept in the
// user's own files. A value is a property list: a string, number, Boolean, data, array or
// dictionary with strings as keys. Any thread may call everything here; no call but
// CFPreferencesSynchronize waits for another process.
//
// The domain D of the current user on any host is the file D.plist in $XDG_CONFIG_HOME, or in
// ~/.config. No other user or host has a store: nothing is found there, nothing is kept, and
// synchronising is false. The same goes for a name that could not be a file's (empty, or with "/").
#pragma once

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

// The domain of all applications, and the one named like this process's program.
CF_EXPORT const CFStringRef kCFPreferencesAnyApplication;
CF_EXPORT const CFStringRef kCFPreferencesCurrentApplication;
CF_EXPORT const CFStringRef kCFPreferencesAnyHost;
CF_EXPORT const CFStringRef kCFPreferencesCurrentHost;
CF_EXPORT const CFStringRef kCFPreferencesAnyUser;
CF_EXPORT const CFStringRef kCFPreferencesCurrentUser;

// What was set in this process, else what the file held when the domain was first read or last
// synchronised. Null when there is none, and for a value with a part that has no type here (a
// date).
CF_EXPORT CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef applicationID,
                                                   CFStringRef userName, CFStringRef hostName);
// A snapshot of the value, or null for removal, waits in memory for the next synchronising. Ignored
// when a property list cannot hold the key or the value: other objects, text with control
// characters other than tab and line ends, more than 100 levels, more than a million parts.
CF_EXPORT void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value,
                                     CFStringRef applicationID, CFStringRef userName,
                                     CFStringRef hostName);
// The keys in order of their bytes; null when there is none.
CF_EXPORT CFArrayRef CFPreferencesCopyKeyList(CFStringRef applicationID, CFStringRef userName,
                                              CFStringRef hostName);
// For null, all keys. Keys without a value are left out; never null.
CF_EXPORT CFDictionaryRef CFPreferencesCopyMultiple(CFArrayRef keysToFetch,
                                                    CFStringRef applicationID, CFStringRef userName,
                                                    CFStringRef hostName);
// Either may be null. Nothing is set when a property list cannot hold one of the values.
CF_EXPORT void CFPreferencesSetMultiple(CFDictionaryRef keysToSet, CFArrayRef keysToRemove,
                                        CFStringRef applicationID, CFStringRef userName,
                                        CFStringRef hostName);
// Reads the file again and writes this process's changes into it; every other key keeps its value,
// whoever wrote it. Waits up to 2 s for other processes that write. Without a change that makes a
// difference nothing is written or created. The new file replaces the old one as a whole and is on
// the disk before this returns; a link is followed. A file that is no property list is kept as
// D.plist.damaged-1 (-2 and so on) when the first change is written.
// False when the file could not be read (what was there then counts as absent) or written; the
// changes then wait on, and the file is as it was.
CF_EXPORT Boolean CFPreferencesSynchronize(CFStringRef applicationID, CFStringRef userName,
                                           CFStringRef hostName);

// The current user on any host; reading goes on to the domain of all applications.
CF_EXPORT CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID);
CF_EXPORT void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value,
                                        CFStringRef applicationID);
CF_EXPORT Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);

CF_EXTERN_C_END
