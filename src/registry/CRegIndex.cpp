#include "registry/CRegIndex.h"

#include "registry/CRegNode.h"

#include <algorithm>
#include <bit>

namespace Tova {

namespace {

// Tells whether a table that is probed must grow before it takes one more.
bool isFull(std::size_t used, std::size_t slots) {
    return (used + 1) * 5 > slots * 4;
}

}  // namespace

CRegIndex::CRegIndex(CRegNode& directory, CPool& pool)
    : directory_(directory), byPlace_(&pool), hashes_(&pool), places_(&pool), firstLonger_(&pool),
      beginnings_(&pool) {
    Build();
}

// Numbers the children anew, so that their positions are their places, and makes the table without
// those that went. At most two slots of three are used then, so that the next time is far away.
void CRegIndex::Build() {
    const auto children = static_cast<std::size_t>(directory_.ChildCount());
    const std::size_t size = std::bit_ceil(children + children / 2 + 8);
    hashes_.assign(size, 0);
    places_.assign(size, 0);
    usedSlots_ = 0;
    lengths_ = 0;
    byPlace_.clear();
    byPlace_.reserve(children);
    firstLonger_.clear();
    beginnings_.clear();
    for (CRegNode* child = directory_.First(); child != nullptr; child = child->nextSibling_) {
        Insert(child);
    }
}

void CRegIndex::Insert(CRegNode* child) {
    const auto place = static_cast<std::uint32_t>(byPlace_.size());
    byPlace_.push_back(child);
    child->position_ = place;
    if (!child->HasName()) {
        return;
    }
    const std::size_t mask = hashes_.size() - 1;
    std::size_t slot = child->nameHash_ & mask;
    while (hashes_[slot] != 0) {
        slot = (slot + 1) & mask;
    }
    hashes_[slot] = child->nameHash_;
    places_[slot] = place;
    ++usedSlots_;
    NoteLength(std::string_view(child->GetName()).size(), place);
}

void CRegIndex::Add(CRegNode* child) {
    if (isFull(usedSlots_, hashes_.size())) {
        Build();
        return;
    }
    Insert(child);
    if (child->HasName()) {
        for (Beginnings& beginnings : beginnings_) {
            AddBeginning(beginnings, child->GetName(), child->position_);
        }
    }
}

bool CRegIndex::Remove(const CRegNode* child) noexcept {
    MoveOffCursor(child);
    byPlace_[child->position_] = nullptr;
    return byPlace_.size() / 4 <= static_cast<std::size_t>(directory_.ChildCount());
}

CRegNode* CRegIndex::FindExact(std::string_view name, std::uint32_t hash) const {
    if ((lengths_ & LengthBit(name.size())) == 0) {
        return nullptr;
    }
    const std::size_t mask = hashes_.size() - 1;
    for (std::size_t at = hash & mask; hashes_[at] != 0; at = (at + 1) & mask) {
        if (hashes_[at] == hash) {
            CRegNode* child = byPlace_[places_[at]];
            if (child != nullptr && child->GetName() == name) {
                return child;
            }
        }
    }
    return nullptr;
}

// Takes in that a name of `length` characters stands at `place`, which is behind all others.
void CRegIndex::NoteLength(std::size_t length, std::uint32_t place) {
    lengths_ |= LengthBit(length);
    firstLonger_.resize(std::max(firstLonger_.size(), length), place);
}

CRegIndex::Beginnings CRegIndex::MakeBeginnings(std::size_t length) const {
    Beginnings made(length, byPlace_.get_allocator().resource());
    for (std::size_t place = firstLonger_[length]; place < byPlace_.size(); ++place) {
        if (const CRegNode* child = byPlace_[place]; child != nullptr && child->HasName()) {
            AddBeginning(made, child->GetName(), static_cast<std::uint32_t>(place));
        }
    }
    return made;
}

void CRegIndex::AddBeginning(Beginnings& beginnings, std::string_view name,
                             std::uint32_t place) const {
    if (name.size() <= beginnings.length) {
        return;
    }
    if (isFull(beginnings.usedChains, beginnings.chains.size())) {
        // Chains are only moved, so that their order stays. Those that are used up are left out.
        std::pmr::vector<Beginnings::Chain> former(
            std::max<std::size_t>(beginnings.chains.size() * 2, 16), Beginnings::Chain{},
            beginnings.chains.get_allocator());
        former.swap(beginnings.chains);
        beginnings.usedChains = 0;
        const std::size_t mask = beginnings.chains.size() - 1;
        for (const Beginnings::Chain& chain : former) {
            if (chain.hash != 0 && chain.first != cNoPlace) {
                std::size_t slot = chain.hash & mask;
                while (beginnings.chains[slot].hash != 0) {
                    slot = (slot + 1) & mask;
                }
                beginnings.chains[slot] = chain;
                ++beginnings.usedChains;
            }
        }
    }
    beginnings.next.resize(place + std::size_t{1}, cNoPlace);
    const std::string_view beginning = name.substr(0, beginnings.length);
    const std::uint32_t hash = HashOf(beginning);
    Beginnings::Chain& chain = ChainOf(beginnings, beginning, hash);
    if (chain.hash == 0) {
        chain = {hash, place, place};
        ++beginnings.usedChains;
    } else {
        beginnings.next[chain.last] = place;
        chain.last = place;
    }
}

// Returns the chain of the names that begin so, or the unused slot where it belongs. Skips what
// went from the front of the chains that it meets, so that each place is skipped once.
CRegIndex::Beginnings::Chain& CRegIndex::ChainOf(Beginnings& beginnings, std::string_view beginning,
                                                 std::uint32_t hash) const {
    const std::size_t mask = beginnings.chains.size() - 1;
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        Beginnings::Chain& chain = beginnings.chains[slot];
        if (chain.hash == 0) {
            return chain;
        }
        if (chain.hash != hash) {
            continue;
        }
        while (chain.first != cNoPlace && byPlace_[chain.first] == nullptr) {
            chain.first = beginnings.next[chain.first];
        }
        if (chain.first != cNoPlace &&
            std::string_view(byPlace_[chain.first]->GetName()).starts_with(beginning)) {
            return chain;
        }
    }
}

CRegNode* CRegIndex::FindPrefix(std::string_view prefix) {
    const std::uint32_t hash = HashOf(prefix);
    CRegNode* exact = FindExact(prefix, hash);
    const std::size_t length = prefix.size();
    if (length >= firstLonger_.size() ||
        (exact != nullptr && exact->position_ < firstLonger_[length])) {
        return exact;
    }
    auto known = std::find_if(beginnings_.begin(), beginnings_.end(),
                              [&](const Beginnings& each) { return each.length == length; });
    if (known == beginnings_.end()) {
        beginnings_.push_back(MakeBeginnings(length));
        known = beginnings_.end() - 1;
    }
    if (known->chains.empty()) {
        return exact;
    }
    const Beginnings::Chain& chain = ChainOf(*known, prefix, hash);
    if (chain.hash == 0) {
        return exact;
    }
    CRegNode* longer = byPlace_[chain.first];
    return exact != nullptr && exact->position_ < longer->position_ ? exact : longer;
}

CRegNode* CRegIndex::Entry(int i) {
    if (i < 0) {
        return nullptr;
    }
    if (cursor_ == nullptr || i < cursorIndex_ / 2) {
        cursor_ = directory_.FirstEntry();
        cursorIndex_ = 0;
    }
    while (cursor_ != nullptr && cursorIndex_ > i) {
        cursor_ = cursor_->PreviousEntry();
        --cursorIndex_;
    }
    while (cursor_ != nullptr && cursorIndex_ < i) {
        CRegNode* next = cursor_->NextEntry();
        if (next == nullptr) {
            return nullptr;  // the cursor stays on the last entry
        }
        cursor_ = next;
        ++cursorIndex_;
    }
    return cursor_;
}

// Keeps the cursor right when `child` goes, whether it stands before, on or after it.
void CRegIndex::MoveOffCursor(const CRegNode* child) {
    if (cursor_ == nullptr || child->GetType() == RegNodeType::Comment ||
        child->position_ > cursor_->position_) {
        return;
    }
    if (child == cursor_) {
        cursor_ = cursor_->PreviousEntry();
    }
    --cursorIndex_;
}

}  // namespace Tova
