// The numbers with which the calls on files and folders report what went wrong.
#pragma once

#include <CoreFoundation/CFBase.h>

enum {
    noErr = 0,
    dskFulErr = -34,
    nsvErr = -35,
    ioErr = -36,
    bdNamErr = -37,
    tmfoErr = -42,
    fnfErr = -43,
    wPrErr = -44,
    fLckdErr = -45,
    vLckdErr = -46,
    fBsyErr = -47,
    dupFNErr = -48,
    opWrErr = -49,
    paramErr = -50,
    wrPermErr = -61,
    memFullErr = -108,
    dirNFErr = -120,
    afpAccessDenied = -5000,
    afpObjectTypeErr = -5025
};
