// Where the user's registration details are kept: the preferences domain and configuration files.
// One thread at a time.
#pragma once

#include "interface/CRegInfo.h"

namespace Tova {

// Reads "RegisterInfo/" + `name` from the preferences. False, with `value` unchanged, when there is
// no such text. A text that the system encoding cannot hold leaves `value` unchanged too, and is
// true.
bool ReadValue(const CString& name, CString& value);

class CPrefsRegInfo {
public:
    // Reads the four fields in the order first name, last name, organisation, e-mail, as any
    // process has written them, and stops at the first that is absent: it and the later ones
    // become empty. True when all four were there. The record is set either way; callers rely on
    // both.
    static bool Load(CRegInfo& record);
};

class CNWCFileRegInfo {
public:
    // Sets the record from a configuration file; fields that it lacks become empty. False, with the
    // record unchanged, when the file cannot be read or is damaged. `path` is POSIX; null fails.
    static bool Load(const char* path, CRegInfo& record);
    // Puts the record into an existing configuration file, in place, and keeps everything else that
    // it holds. Variables that the file fixes keep their values. False, with nothing written, when
    // the file is missing, unreadable or damaged: no file is ever created. False too when it cannot
    // be opened for writing.
    static bool Save(const char* path, const CRegInfo& record);
};

}  // namespace Tova
