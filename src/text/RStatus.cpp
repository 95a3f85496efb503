#include "text/RStatus.h"

namespace Tova {

namespace {

struct PlatformError {
    std::int16_t code;
    RStatus status;
};

constexpr PlatformError cPlatformErrors[] = {
    {-43, ErrNotFound},        // fnfErr: no such file
    {-120, ErrNotFound},       // dirNFErr: no such folder
    {-35, ErrNotFound},        // nsvErr: no such volume
    {-48, ErrAlreadyExists},   // dupFNErr
    {-50, ErrBadParameter},    // paramErr
    {-5000, ErrAccessDenied},  // afpAccessDenied
    {-5025, ErrAccessDenied},  // another of the file server's
    {-44, ErrAccessDenied},    // wPrErr: write-protected disk
    {-46, ErrAccessDenied},    // vLckdErr: locked volume
    {-45, ErrAccessDenied},    // fLckdErr: locked file
    {-47, ErrAccessDenied},    // fBsyErr: file in use
    {-49, ErrAccessDenied},    // opWrErr: already open for writing
    {-61, ErrAccessDenied},    // wrPermErr: no permission to write
    {-37, ErrBadName},         // bdNamErr
    {-34, ErrDiskFull},        // dskFulErr
};

}  // namespace

RStatus ToRStatus(int platformError) {
    if (platformError == 0) {
        return Ok;
    }
    for (const PlatformError& known : cPlatformErrors) {
        if (known.code == platformError) {
            return known.status;
        }
    }
    return Failure;
}

}  // namespace Tova
