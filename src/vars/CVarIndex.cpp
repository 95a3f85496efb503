#include "vars/CVarIndex.h"

#include "text/NameHash.h"

#include <cstdint>
#include <utility>

namespace Tova {

namespace {

// Uses the bits at the top, because those at the bottom choose the slot.
unsigned char tagOf(std::uint64_t hash) {
    return static_cast<unsigned char>(hash >> 57 | 0x80);
}

}  // namespace

void CVarIndex::Reserve(std::size_t count, CVar* first) {
    if (count <= slots_ / 4 * 3) {
        return;
    }
    CVarIndex grown;
    grown.slots_ = slots_ != 0 ? slots_ * 2 : 16;
    grown.tags_ = std::make_unique<unsigned char[]>(grown.slots_);
    grown.vars_.reset(new CVar*[grown.slots_]);
    for (; first != nullptr; first = first->next_) {
        grown.Insert(*first, HashName(first->NameView()));
    }
    *this = std::move(grown);
}

void CVarIndex::Insert(CVar& var, std::uint64_t hash) {
    std::size_t slot = hash & (slots_ - 1);
    while (tags_[slot] != 0) {
        slot = (slot + 1) & (slots_ - 1);
    }
    tags_[slot] = tagOf(hash);
    vars_[slot] = &var;
}

CVar* CVarIndex::Find(std::string_view name, std::uint64_t hash) const {
    const unsigned char tag = tagOf(hash);
    for (std::size_t slot = hash & (slots_ - 1); tags_[slot] != 0;
         slot = (slot + 1) & (slots_ - 1)) {
        if (tags_[slot] == tag && vars_[slot]->NameView() == name) {
            return vars_[slot];
        }
    }
    return nullptr;
}

}  // namespace Tova
