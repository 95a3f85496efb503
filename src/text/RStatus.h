// The status word that every fallible operation of the class library returns.
#pragma once

#include <cstdint>

namespace Tova {

// Bit 31 is set for a failure (the value is then negative). Bits 15 to 7 hold the module number
// plus 4, bits 6 to 0 the code. Test success with `status >= 0`, never by equality with `Ok`,
// because some successes carry information.
enum RStatus : std::int32_t {
    Ok = 0x00000200,
    Failure = static_cast<std::int32_t>(0x80000200U),

    ErrAlreadyExists = static_cast<std::int32_t>(0x80000201U),
    ErrNotFound = static_cast<std::int32_t>(0x80000202U),
    ErrAccessDenied = static_cast<std::int32_t>(0x80000203U),
    ErrBadParameter = static_cast<std::int32_t>(0x80000204U),
    ErrBadName = static_cast<std::int32_t>(0x80000205U),
    ErrSyntax = static_cast<std::int32_t>(0x80000208U),
    ErrBadFormat = static_cast<std::int32_t>(0x8000020DU),
    ErrNotSupported = static_cast<std::int32_t>(0x8000020EU),
    ErrEndOfStream = static_cast<std::int32_t>(0x8000020FU),
    ErrDiskFull = static_cast<std::int32_t>(0x80000402U),

    // Successes that say what a path names (no row in any error table).
    S_NodeIsDirectory = 0x00000401,
    S_NodeIsFile = 0x00000402,
    // Successes that say what a registry path names.
    S_RegIsDirectory = 0x00000501,
    S_RegIsValue = 0x00000502,
};

// Returns the status for a File Manager error number, a 16-bit code that is sign-extended to int; 0
// is `Ok`. An unknown number, also a positive one, is `Failure`. Any thread may call it.
RStatus ToRStatus(int platformError);

}  // namespace Tova
