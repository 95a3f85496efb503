#include "vars/CVarIndex.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace Tova {

namespace {

// Has no pattern in its bits.
constexpr std::uint64_t cOdd = 0x9E3779B97F4A7C15U;

// Returns a number that the loader chooses anew for every process, so that a file cannot be made to
// hold names which all fall on one slot.
std::uint64_t seed() {
    static const char sPlace = 0;
    return reinterpret_cast<std::uintptr_t>(&sPlace) * cOdd;
}

template <class Word>
std::uint64_t wordAt(const char* text) {
    Word word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// Uses the bits at the top, because those at the bottom choose the slot.
unsigned char tagOf(std::uint64_t hash) {
    return static_cast<unsigned char>(hash >> 57 | 0x80);
}

}  // namespace

// Takes a name in words, the last of which overlap. Names are short, so a call of std::hash costs
// twice as much as this.
std::uint64_t CVarIndex::HashOf(std::string_view name) {
    const char* at = name.data();
    std::size_t left = name.size();
    const std::uint64_t secret = seed();
    std::uint64_t hash = secret ^ left;
    for (; left > 16; at += 16, left -= 16) {
        hash = mix(wordAt<std::uint64_t>(at) ^ hash, wordAt<std::uint64_t>(at + 8) ^ secret);
    }
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    if (left >= 8) {
        first = wordAt<std::uint64_t>(at);
        last = wordAt<std::uint64_t>(at + left - 8);
    } else if (left >= 4) {
        first = wordAt<std::uint32_t>(at);
        last = wordAt<std::uint32_t>(at + left - 4);
    } else if (left > 0) {
        first = static_cast<unsigned char>(at[0]);
        last = wordAt<std::uint8_t>(at + left / 2) << 8 | wordAt<std::uint8_t>(at + left - 1);
    }
    return mix(first ^ hash, last ^ secret);
}

void CVarIndex::Reserve(std::size_t count, CVar* first) {
    if (count <= slots_ / 4 * 3) {
        return;
    }
    CVarIndex grown;
    grown.slots_ = slots_ != 0 ? slots_ * 2 : 16;
    grown.tags_ = std::make_unique<unsigned char[]>(grown.slots_);
    grown.vars_.reset(new CVar*[grown.slots_]);
    for (; first != nullptr; first = first->next_) {
        grown.Insert(*first, HashOf(first->NameView()));
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
