// SPDX-License-Identifier: LicenseRef-TVframework
// The error numbers of the calls on files and folders.
#pragma once

#include <CoreFoundation/CFBase.h>

enum {
    noErr = 0,
    dskFulErr = -34,
    ioErr = -36,
    bdNamErr = -37,
    tmfoErr = -42,
    fnfErr = -43,
    wPrErr = -44,
    fBsyErr = -47,
    dupFNErr = -48,
    paramErr = -50,
    memFullErr = -108,
    dirNFErr = -120,
    afpAccessDenied = -5000
};
