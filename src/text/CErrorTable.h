// The names of status values, in one table for each module. Tables register themselves while
// statics are initialised, and are never removed. After that any thread may look names up.
#pragma once

#include "text/RStatus.h"

namespace Tova {

struct CErrorTableEntry {
    RStatus status;
    const char* name;  // static storage
};

class CErrorTable {
public:
    // Puts the table at the head of the list. Takes no lock, so only static initialisation may make
    // a table; the order between sources does not matter. Borrows `name` (the module's short name)
    // and the `count` rows. They and the table must have static storage duration.
    CErrorTable(const char* name, int module, int count, const CErrorTableEntry* entries);
    CErrorTable(const CErrorTable&) = delete;
    CErrorTable& operator=(const CErrorTable&) = delete;

    const char* Name() const { return name_; }

    // Returns this table's row for exactly `status`, or null.
    const CErrorTableEntry* FindError(RStatus status) const;

    // Returns the table of a module, or null. Of several tables it returns the one registered last.
    static CErrorTable* FindModuleTable(int module);
    // Returns the row for `status` in the table that FindModuleTable returns for its module, or
    // null. Deliberate: other tables of that module are not searched.
    static const CErrorTableEntry* SFindError(RStatus status);
    // Returns the name in that row, or "(unknown error)".
    static const char* GetErrorName(RStatus status);

    // Points to the table registered last; null before the first.
    static CErrorTable* cFirstTable;

private:
    const char* name_;
    int module_;
    int count_;
    const CErrorTableEntry* entries_;
    CErrorTable* next_;
};

}  // namespace Tova
