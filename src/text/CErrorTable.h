// Names of status values, one table for each module. Tables register themselves while statics are
// initialised and are never removed; after that any thread may look names up.
#pragma once

#include "text/RStatus.h"

namespace Tova {

struct CErrorTableEntry {
    RStatus status;
    const char* name;  // static storage
};

class CErrorTable {
public:
    // Puts itself at the head of the list, without a lock: only static initialisation may do so,
    // in any order between sources. `name` (the module's short name) and the `count` rows are
    // borrowed; they and the table must have static storage duration.
    CErrorTable(const char* name, int module, int count, const CErrorTableEntry* entries);
    CErrorTable(const CErrorTable&) = delete;
    CErrorTable& operator=(const CErrorTable&) = delete;

    const char* Name() const { return name_; }

    // This table's row for exactly `status`, or null.
    const CErrorTableEntry* FindError(RStatus status) const;

    // The table of a module, or null; of several the one registered last.
    static CErrorTable* FindModuleTable(int module);
    // The row for `status` in the table that FindModuleTable gives for its module, or null. Other
    // tables of the same module are not searched.
    static const CErrorTableEntry* SFindError(RStatus status);
    // That row's name, or "(unknown error)".
    static const char* GetErrorName(RStatus status);

    // The table registered last; null before the first.
    static CErrorTable* cFirstTable;

private:
    const char* name_;
    int module_;
    int count_;
    const CErrorTableEntry* entries_;
    CErrorTable* next_;
};

}  // namespace Tova
