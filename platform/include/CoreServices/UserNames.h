// SPDX-License-Identifier: LicenseRef-TVframework
// The name of the user.
#pragma once

#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

// Returns the name of the user that the process acts for (its effective user). The short name is
// the login name; the long name is the person's name if the password file has it, else the login
// name. A user without an entry there has the name in LOGNAME, else in USER. Returns null if there
// is no name. The caller releases it. Any thread may call this.
CF_EXPORT CFStringRef CSCopyUserName(Boolean useShortName);

CF_EXTERN_C_END
