// SPDX-License-Identifier: LicenseRef-TVframework
// Preferences: values by key in domains that are named by an application's identifier, kept in the
// user's own files. A value is a property list: a string, number, Boolean, data, array or
// dictionary with strings as keys. Any thread may call everything here. No call but
// CFPreferencesSynchronize waits for another process.
//
// The domain D of the current user on any host is the file D.plist in $XDG_CONFIG_HOME, or in
// ~/.config. No other user or host has a store: a read finds no value, a set has no effect, and
// synchronising returns false. The same is true of a name that cannot be a file's (empty, or with
// "/").
#pragma once

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

// The domain of all applications, and the one with the name of this process's program.
CF_EXPORT const CFStringRef kCFPreferencesAnyApplication;
CF_EXPORT const CFStringRef kCFPreferencesCurrentApplication;
CF_EXPORT const CFStringRef kCFPreferencesAnyHost;
CF_EXPORT const CFStringRef kCFPreferencesCurrentUser;

// Returns the value that was set in this process, else the one that the file held when the domain
// was first read or last synchronised. Returns null if there is none, or if a part of the value has
// no type here (a date).
CF_EXPORT CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef applicationID,
                                                   CFStringRef userName, CFStringRef hostName);
// Keeps a snapshot of the value in memory for the next synchronising. Null removes the key. This
// has no effect if a property list cannot hold the key or the value: other objects, text with
// control characters other than tab and line ends, more than 100 levels, more than a million parts.
CF_EXPORT void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value,
                                     CFStringRef applicationID, CFStringRef userName,
                                     CFStringRef hostName);
// Returns the keys in order of their bytes, or null if there is none.
CF_EXPORT CFArrayRef CFPreferencesCopyKeyList(CFStringRef applicationID, CFStringRef userName,
                                              CFStringRef hostName);
// Reads the file again and writes this process's changes into it. Every other key keeps its value,
// including those that other processes wrote. Waits up to 2 s for other processes that write. If no
// change makes a difference, nothing is written or created. The new file replaces the old one as a
// whole and is on the disk before this returns, if its folder can be brought there. A link of
// root's or of the user's own is followed. A file that is no property list is kept as
// D.plist.damaged-1 (-2 and so on) when the first change is written. Returns false if the file
// could not be read (its keys then count as absent) or written. The changes then stay in memory,
// and the file is as it was. errno tells why: EILSEQ if the file is no property list, EAGAIN if
// others were writing all the time.
CF_EXPORT Boolean CFPreferencesSynchronize(CFStringRef applicationID, CFStringRef userName,
                                           CFStringRef hostName);

// These three do the same for the current user on any host. If the domain does not have a key, the
// value is that of the domain of all applications.
CF_EXPORT CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID);
CF_EXPORT void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value,
                                        CFStringRef applicationID);
CF_EXPORT Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);

CF_EXTERN_C_END
