#include "coreservices/FileErrors.h"

#include <cerrno>

namespace tvplatform {

OSErr FileErrorOf(int errorNumber) {
    switch (errorNumber) {
    case 0:
        return noErr;
    case ENOENT:
        return fnfErr;
    case ENOTDIR:
        return dirNFErr;
    case EEXIST:
        return dupFNErr;
    case EACCES:
    case EPERM:
        return afpAccessDenied;
    case EROFS:
        return wPrErr;
    case EBUSY:
    case ETXTBSY:
        return fBsyErr;
    case EINVAL:
        return paramErr;
    case ENAMETOOLONG:
    case EILSEQ:
        return bdNamErr;
    case ENOSPC:
    case EDQUOT:
        return dskFulErr;
    case EMFILE:
    case ENFILE:
        return tmfoErr;
    case ENOMEM:
        return memFullErr;
    default:
        return ioErr;
    }
}

}  // namespace tvplatform
