#include "text/CErrorTable.h"

#include <cstdint>

namespace Tova {

namespace {

int moduleOf(RStatus status) {
    return static_cast<int>((static_cast<std::uint32_t>(status) >> 7) & 0x1FF) - 4;
}

}  // namespace

// Initialised at compile time, because tables register in any order of the sources.
constinit CErrorTable* CErrorTable::cFirstTable = nullptr;

CErrorTable::CErrorTable(const char* name, int module, int count, const CErrorTableEntry* entries)
    : name_(name), module_(module), count_(count), entries_(entries), next_(cFirstTable) {
    cFirstTable = this;
}

const CErrorTableEntry* CErrorTable::FindError(RStatus status) const {
    for (int i = 0; i < count_; ++i) {
        if (entries_[i].status == status) {
            return &entries_[i];
        }
    }
    return nullptr;
}

CErrorTable* CErrorTable::FindModuleTable(int module) {
    CErrorTable* table = cFirstTable;
    while (table != nullptr && table->module_ != module) {
        table = table->next_;
    }
    return table;
}

const CErrorTableEntry* CErrorTable::SFindError(RStatus status) {
    const CErrorTable* table = FindModuleTable(moduleOf(status));
    return table != nullptr ? table->FindError(status) : nullptr;
}

const char* CErrorTable::GetErrorName(RStatus status) {
    const CErrorTableEntry* entry = SFindError(status);
    return entry != nullptr ? entry->name : "(unknown error)";
}

}  // namespace Tova
