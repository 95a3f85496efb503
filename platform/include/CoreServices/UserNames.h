// Who the user is.
#pragma once

#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

// The name of the user that the process acts for (its effective user): the short one is the login
// name, the long one the person's name where the password file has it. Without an entry there, the
// value of LOGNAME, else of USER. The caller releases it; null when there is none. Any thread.
CF_EXPORT CFStringRef CSCopyUserName(Boolean useShortName);

CF_EXTERN_C_END
