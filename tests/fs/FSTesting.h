// What the tests of this folder share.
#pragma once

#include "fs/CFSPath.h"

#include <string>

// A path from POSIX text.
struct Path : Tova::CFSPath {
    explicit Path(const std::string& text) { FromUnixPath(text.c_str()); }
};

// The text of a path; "(none)" when it has none.
inline std::string text(const Tova::CFSPath& path) {
    Tova::CString result("(none)");
    path.ToUnixPath(result);
    return result.CStr();
}
