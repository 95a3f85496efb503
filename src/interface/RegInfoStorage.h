// Reads and saves the user's registration details in the preferences domain and in configuration
// files. One thread at a time may use this.
#pragma once

#include "interface/CRegInfo.h"

namespace Tova {

// Reads "RegisterInfo/" + `name` from the preferences. Returns false and leaves `value` unchanged
// if there is no such text. Returns true and leaves `value` unchanged if the system encoding cannot
// hold the text.
bool ReadValue(const CString& name, CString& value);

class CPrefsRegInfo {
public:
    // Reads the four fields, as any process has written them, in the order first name, last name,
    // organisation, e-mail. Returns true if all four were there.
    // Deliberate: reading stops at the first absent field, which becomes empty like the later ones,
    // and the record is set in either case, because callers rely on both.
    static bool Load(CRegInfo& record);
};

class CNWCFileRegInfo {
public:
    // Sets the record from the configuration file at `path` (POSIX). Fields that the file lacks
    // become empty. Returns false and leaves the record unchanged if `path` is null, or if the file
    // cannot be read or is damaged.
    static bool Load(const char* path, CRegInfo& record);
    // Puts the record into an existing configuration file, in place, and keeps everything else that
    // it holds. Variables that the file fixes keep their values. Never creates a file. Returns
    // false and writes nothing if the file is missing, unreadable or damaged, or cannot be opened
    // for writing.
    static bool Save(const char* path, const CRegInfo& record);
};

}  // namespace Tova
