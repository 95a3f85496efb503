/* TVframework: what installers and applications share about the product Calyx.
 *
 * A process-wide list of named variables, which is substituted into texts, and the user's
 * registration details, which are read from and saved into configuration files. C and C++.
 *
 * Threads. There is no lock: call these functions from one thread at a time. Sending is done on a
 * thread of the framework's own and holds nobody up.
 *
 * Ownership. Arguments stay the caller's; the framework keeps no reference to a dictionary, path or
 * text once a function has returned. Every pointer argument may be null.
 *
 * Encodings. Paths are POSIX paths, converted to UTF-8. All other texts are converted in the
 * platform's system encoding (CFStringGetSystemEncoding), which is UTF-8 unless the build or the
 * environment variable TV_SYSTEM_ENCODING says otherwise.
 *
 * Variables. "MajVersion", "MinVersion" (both fixed), "AppName" and "ShortAppKey" are built in; the
 * framework's own configuration file, Resources/CXMnwc beside the library, may add others and
 * rename the product. They are set by the first call of tvReadRegInfoFromNWC,
 * tvReadRegInfoFromPrefs or tvWriteRegInfo in a process (with arguments that are not null), never
 * by loading the library, and not read again after that.
 *
 * Details. A dictionary with CFString keys and values:
 *
 *   "FNKey"  first name       at most 30 bytes when saved
 *   "LNKey"  last name        at most 30 bytes
 *   "OrKey"  organisation     at most 60 bytes
 *   "EAKey"  e-mail address   at most 64 bytes
 *   "SDKey"  a CFNumber; 1: the user agrees to sending (read by tvWriteRegInfo only)
 *
 * Preferences. The domain "com.NimbusWorks.NWCX7" of the current user on any host, keys
 * "RegisterInfo/RegFirstName", "RegisterInfo/RegLastName", "RegisterInfo/RegOrg" and
 * "RegisterInfo/RegEmail". */
#ifndef TVFRAMEWORK_TVFRAMEWORK_H
#define TVFRAMEWORK_TVFRAMEWORK_H

#include <CoreFoundation/CoreFoundation.h>

#define TV_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* Replaces each variable's placeholder in `text`, in place, by the variable's value, and again the
 * placeholders that values bring along, until none is left. A placeholder is a name between two
 * delimiters: the two characters (UTF-16 units) of `delimiters`, or "<" and ">" when it is null.
 * Names are case-sensitive; what is no variable's name stays as it is.
 *
 * Returns the number of replacements. 0, with the text unchanged, when `text` is null, `delimiters`
 * is not exactly two characters long, or no function has set the variables yet: this one does not.
 *
 * Values that refer to each other in a circle make it run for ever or until memory runs out. From
 * C++, lack of memory arrives as std::bad_alloc. */
TV_EXPORT int tvApplyVariables(CFMutableStringRef text, CFStringRef delimiters);

/* Removes `key` from the preferences domain, exactly as given (no "RegisterInfo/" is added), and
 * writes the domain out. Nothing happens for null; nothing is reported. Throws nothing. */
TV_EXPORT void tvDeletePrefsItem(CFStringRef key);

/* Reads the user's details from the configuration file at `path` into `details`, replacing the four
 * values there; a detail that the file lacks becomes the empty string.
 *
 * Returns 1 when the file was read. -1 when an argument is null, with nothing touched, and when the
 * path cannot be converted, or the file is missing, unreadable or damaged: the four values are then
 * empty strings, so that a form is always in a consistent state. Throws nothing. Blocks while the
 * file is read. */
TV_EXPORT int tvReadRegInfoFromNWC(CFStringRef path, CFMutableDictionaryRef details);

/* Reads the user's details from the preferences domain into `details`, replacing the four values
 * there.
 *
 * Returns 1 when all four were there. Otherwise -1, and unlike tvReadRegInfoFromNWC leaves
 * `details` untouched. Throws nothing. */
TV_EXPORT int tvReadRegInfoFromPrefs(CFMutableDictionaryRef details);

/* Saves the user's details into the configuration file at `path`, which must exist: everything else
 * that it holds stays, and variables that it marks as fixed keep their values. A detail that is
 * missing, is no string, cannot be converted or is too long is saved as the empty string, never
 * cut. The file is replaced in place; failures while writing, once it was opened, are not reported.
 * The preferences are not written.
 *
 * When `send` is not 0 and "SDKey" is exactly 1, the details also go to the product registration
 * with an HTTP GET: to the address "ProdRegURL" that the shared application registry holds for the
 * variable "AppKey", else to the default of the build, which may be none. The request runs in the
 * background: the function does not wait for it and never reports what became of it. It ends with
 * the process.
 *
 * Returns 0 when the details were saved, -1 when `path` or `details` is null or the path cannot be
 * converted (nothing is done), -3 when the file is missing, unreadable, damaged or cannot be opened
 * for writing. From C++, lack of memory arrives as std::bad_alloc. */
TV_EXPORT int tvWriteRegInfo(CFStringRef path, CFDictionaryRef details, unsigned int send);

#ifdef __cplusplus
}
#endif

#endif
