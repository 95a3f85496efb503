// SPDX-License-Identifier: LicenseRef-TVframework
// Everything that this library offers of CoreServices.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <CoreServices/Files.h>
#include <CoreServices/Finder.h>
#include <CoreServices/Folders.h>
#include <CoreServices/MacErrors.h>
#include <CoreServices/UserNames.h>
