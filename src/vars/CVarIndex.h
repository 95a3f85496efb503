// Leads from the names of a CVarList to its variables. It has no lock; the owner of the list
// serialises access.
#pragma once

#include "vars/CVar.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace Tova {

// A table with open addressing. It knows one byte of each name's hash in an array of its own, so a
// search seldom looks at a variable of another name, and a name that is not there costs no look at
// all.
class CVarIndex {
public:
    constexpr CVarIndex() = default;

    // Makes room for `count` variables. If the table has to grow, enters the variables from `first`
    // on anew. Throws std::bad_alloc if memory runs out; the table is then as before.
    void Reserve(std::size_t count, CVar* first);
    // Enters a variable whose name is not there yet, and has this hash. There must be room for it.
    void Insert(CVar& var, std::uint64_t hash);
    // Returns the variable, or null if there is none of this name, which has this hash.
    CVar* Find(std::string_view name, std::uint64_t hash) const;
    // Tells the processor that a name of this hash is looked for soon. In a large table that halves
    // the time of the search.
    void Prefetch(std::uint64_t hash) const {
        if (slots_ != 0) {
            const std::size_t slot = hash & (slots_ - 1);
            __builtin_prefetch(&tags_[slot]);
            __builtin_prefetch(&vars_[slot], 1);
        }
    }

private:
    std::size_t slots_ = 0;  // a power of two, or 0
    // For each slot, a byte of the hash, or 0 if the slot is free.
    std::unique_ptr<unsigned char[]> tags_;
    std::unique_ptr<CVar*[]> vars_;
};

}  // namespace Tova
