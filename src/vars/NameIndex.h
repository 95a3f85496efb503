// Leads from the names of variables to the variables. It has no lock; its owner serialises access.
#pragma once

#include "text/NameHash.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

namespace Tova {

// A table with open addressing. It knows one byte of each name's hash in an array of its own, so a
// search seldom looks at a variable of another name, and a name that is not there costs no look at
// all. A variable has a NameView() of such characters, which stays as it is.
template <class Var, class Char>
class NameIndex {
public:
    using View = std::basic_string_view<Char>;

    constexpr NameIndex() = default;

    // Makes room for `count` variables. If the table has to grow, enters those that `visit` gives
    // to the function it is called with, all that there are. They are not taken from the former
    // table, whose order is none of memory. Throws std::bad_alloc if memory runs out; the table is
    // then as before.
    template <class Visit>
    void Reserve(std::size_t count, Visit visit) {
        if (count <= slots_ / 4 * 3) {
            return;
        }
        constexpr std::size_t cFewest = 64;
        NameIndex grown;
        grown.slots_ = std::max(std::bit_ceil(count / 3 * 4 + 4), cFewest);
        grown.tags_ = std::make_unique<unsigned char[]>(grown.slots_);
        grown.vars_.reset(new Var*[grown.slots_]);
        visit([&grown](Var& var) { grown.Insert(var, HashName(var.NameView())); });
        *this = std::move(grown);
    }

    // Enters a variable whose name is not there yet, and has this hash. There must be room for it.
    void Insert(Var& var, std::uint64_t hash) {
        std::size_t slot = hash & (slots_ - 1);
        while (tags_[slot] != 0) {
            slot = (slot + 1) & (slots_ - 1);
        }
        tags_[slot] = TagOf(hash);
        vars_[slot] = &var;
    }

    // Returns the variable, or null if there is none of this name, which has this hash. There must
    // be room for some variables.
    Var* Find(View name, std::uint64_t hash) const {
        const unsigned char tag = TagOf(hash);
        for (std::size_t slot = hash & (slots_ - 1); tags_[slot] != 0;
             slot = (slot + 1) & (slots_ - 1)) {
            if (tags_[slot] == tag && AreNamesEqual(vars_[slot]->NameView(), name)) {
                return vars_[slot];
            }
        }
        return nullptr;
    }

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
    // Uses the bits at the top, because those at the bottom choose the slot.
    static unsigned char TagOf(std::uint64_t hash) {
        return static_cast<unsigned char>(hash >> 57 | 0x80);
    }

    std::size_t slots_ = 0;  // a power of two, or 0
    // For each slot, a byte of the hash, or 0 if the slot is free.
    std::unique_ptr<unsigned char[]> tags_;
    std::unique_ptr<Var*[]> vars_;
};

}  // namespace Tova
