// SPDX-License-Identifier: LicenseRef-TVframework
// HTTP messages and streams that fetch them.
#pragma once

#include <CFNetwork/CFHTTPMessage.h>
#include <CFNetwork/CFHTTPStream.h>
