/* SPDX-License-Identifier: LicenseRef-TVframework */
/* TVframework: what installers and applications share about the product Calyx.
 *
 * The framework keeps a process-wide list of named variables, which it puts into texts, and reads
 * and saves the user's registration details. This header serves C (C99 and later) and C++.
 *
 * Threads. There is no lock: call these functions from one thread at a time. The framework sends on
 * a thread of its own and holds nobody up.
 *
 * Waiting. The functions wait for files only. Two of them may also wait up to two seconds for other
 * processes that write the preferences: tvDeletePrefsItem, and tvReadRegInfoFromPrefs if an earlier
 * removal could not be written.
 *
 * Memory. If memory runs out, tvApplyVariables and tvWriteRegInfo throw std::bad_alloc, which ends
 * a C program. The other functions throw nothing. Those that read return -1 then, and may have
 * replaced some of the details. The cancellation of a thread waits until the function returns.
 *
 * Ownership. Arguments stay the caller's. The framework keeps no reference to a dictionary, path or
 * text once a function has returned. Every pointer argument may be null.
 *
 * Encodings. Paths are POSIX paths and are converted to UTF-8. A path that has 1,024 bytes or more,
 * with the current folder in front of it if it is relative, cannot be used. All other texts are
 * converted in the platform's system encoding (CFStringGetSystemEncoding), which is UTF-8 unless
 * the build or the environment variable TV_SYSTEM_ENCODING names another. A path or a detail that
 * holds U+0000 cannot be converted.
 *
 * Variables. "MajVersion", "MinVersion" (both fixed), "AppName" and "ShortAppKey" are built in. The
 * framework's own configuration file, Resources/CXMnwc beside the library, may add others and
 * rename the product. The first call of tvReadRegInfoFromNWC, tvReadRegInfoFromPrefs or
 * tvWriteRegInfo in a process, with arguments that are not null, sets the variables. Loading the
 * library does not set them, and later calls do not read the file again.
 *
 * Details. The user's details are a dictionary with CFString keys and values. Make it with
 * kCFTypeDictionaryKeyCallBacks and kCFTypeDictionaryValueCallBacks: a dictionary without callbacks
 * does not keep what these functions store in it. An object that is no dictionary counts as null.
 *
 *   "FNKey"  first name       at most 30 bytes when saved
 *   "LNKey"  last name        at most 30 bytes
 *   "OrKey"  organisation     at most 60 bytes
 *   "EAKey"  e-mail address   at most 64 bytes
 *   "SDKey"  a CFNumber, which is 1 if the user agrees to sending (only tvWriteRegInfo reads it);
 *            a CFBoolean is no consent
 *
 * Preferences. The details are in the domain "com.NimbusWorks.NWCX7" of the current user on any
 * host, under the keys "RegisterInfo/RegFirstName", "RegisterInfo/RegLastName",
 * "RegisterInfo/RegOrg" and "RegisterInfo/RegEmail". */
#ifndef TVFRAMEWORK_TVFRAMEWORK_H
#define TVFRAMEWORK_TVFRAMEWORK_H

#include <CoreFoundation/CoreFoundation.h>

#define TV_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* Replaces each variable's placeholder in `text`, in place, by the variable's value, and then the
 * placeholders that came with values, until none is left. A placeholder is a name between two
 * delimiters: the two characters (UTF-16 units) of `delimiters`, or "<" and ">" if it is null.
 * Names are case-sensitive. A name that no variable has stays as it is.
 *
 * Returns the number of replacements. Returns 0 and leaves the text unchanged if `text` is null or
 * immutable, if `delimiters` is not exactly two characters long, or if no function has set the
 * variables yet. This function does not set them.
 *
 * Values that refer to each other in a circle make it run for ever or until memory runs out. */
TV_EXPORT int tvApplyVariables(CFMutableStringRef text, CFStringRef delimiters);

/* Removes `key` from the preferences domain, exactly as given (without adding "RegisterInfo/"), and
 * writes the domain out. Does nothing if `key` is null. Reports no failure. */
TV_EXPORT void tvDeletePrefsItem(CFStringRef key);

/* Reads the user's details from the configuration file at `path` into `details`, and replaces the
 * four values there. A detail that the file lacks becomes the empty string. A detail that is not
 * valid in the system encoding leaves its value as it was, so pass an empty dictionary. Blocks
 * while it reads the file.
 *
 * Returns 1 if it read the file. Returns -1 and touches nothing if an argument is null. Returns -1
 * and sets the four values to empty strings, so that a form is always in a consistent state, if the
 * path cannot be converted, or if the file is missing, unreadable or damaged. Returns -1 if
 * `details` is immutable and has other values. */
TV_EXPORT int tvReadRegInfoFromNWC(CFStringRef path, CFMutableDictionaryRef details);

/* Reads the user's details from the preferences domain into `details`, and replaces the four values
 * there. A detail that the system encoding cannot hold becomes the empty string.
 *
 * Returns 1 if all four were there and are in `details` now. Otherwise returns -1 and, unlike
 * tvReadRegInfoFromNWC, leaves `details` untouched unless memory ran out. */
TV_EXPORT int tvReadRegInfoFromPrefs(CFMutableDictionaryRef details);

/* Saves the user's details into the configuration file at `path`, which must exist. Everything else
 * in the file stays, and variables that it marks as fixed keep their values. A detail is saved as
 * the empty string, and is never cut, if it is missing, is no string, cannot be converted or is too
 * long. The function replaces the file's content in place, and does not report a failure to write
 * once it has opened the file: a full disk, or the end of the process meanwhile, can leave a
 * damaged file. The command tvtool(1) writes a new file beside the old one and then renames it, so
 * it leaves the old contents or the new ones. The function does not write the preferences.
 *
 * If `send` is not 0 and "SDKey" is exactly 1, the function also sends the details to the product
 * registration with an HTTP GET. It sends them to the address "ProdRegURL" that the shared
 * application registry holds for the variable "AppKey", or else to the default of the build, which
 * may have none. The request runs in the background: the function does not wait for it and never
 * reports its outcome. The request ends with the process. Until it is answered or has timed out, it
 * holds a thread and four file descriptors; while it looks up a name, it has one more thread and up
 * to three more descriptors. If these run out, nothing is sent.
 *
 * Sending begins before saving, so it may have happened if the result is -3. The request has the
 * texts of `details`, even where the file keeps a fixed value.
 *
 * Returns 0 if it saved the details. Returns -1 and does nothing if `path` or `details` is null or
 * the path cannot be converted. Returns -3 if the file is missing, unreadable or damaged, or cannot
 * be opened for writing. */
TV_EXPORT int tvWriteRegInfo(CFStringRef path, CFDictionaryRef details, unsigned int send);

#ifdef __cplusplus
}
#endif

#endif
