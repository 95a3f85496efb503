#include "registry/CRegIndex.h"

#include "registry/CRegNode.h"

#include <algorithm>
#include <bit>
#include <new>

namespace Tova {

CRegIndex::CRegIndex(CRegNode& directory, CRegPool& pool)
    : directory_(directory), hashes_(&pool), nodes_(&pool), byPlace_(&pool), firstLonger_(&pool),
      beginnings_(&pool) {
    Build();
}

// Makes the table anew, without the slots of children that went. At most two slots of three are
// used then, so that the next time is far away.
void CRegIndex::Build() {
    const auto children = static_cast<std::size_t>(directory_.ChildCount());
    const std::size_t size = std::bit_ceil(children + children / 2 + 8);
    hashes_.assign(size, 0);
    nodes_.assign(size, nullptr);
    usedSlots_ = 0;
    for (CRegNode* child = directory_.First(); child != nullptr; child = child->nextSibling_) {
        Insert(child);
    }
}

void CRegIndex::Insert(CRegNode* child) {
    if (!child->HasName()) {
        return;
    }
    const std::size_t mask = hashes_.size() - 1;
    std::size_t slot = child->nameHash_ & mask;
    while (hashes_[slot] != 0) {
        slot = (slot + 1) & mask;
    }
    hashes_[slot] = child->nameHash_;
    nodes_[slot] = child;
    ++usedSlots_;
}

void CRegIndex::Add(CRegNode* child) {
    if ((usedSlots_ + 1) * 5 > hashes_.size() * 4) {
        Build();
    } else {
        Insert(child);
    }
    if (byPlace_.empty()) {
        return;
    }
    const auto place = static_cast<std::uint32_t>(byPlace_.size());
    child->position_ = place;
    byPlace_.push_back(child);
    if (child->HasName()) {
        const std::string_view name = child->GetName();
        NoteLength(name.size(), place);
        for (Beginnings& beginnings : beginnings_) {
            AddBeginning(beginnings, name, place);
        }
    }
}

void CRegIndex::Remove(const CRegNode* child) noexcept {
    MoveOffCursor(child);
    if (!byPlace_.empty()) {
        byPlace_[child->position_] = nullptr;
        if (byPlace_.size() / 4 > static_cast<std::size_t>(directory_.ChildCount())) {
            DropPlaces();
        }
    }
    if (!child->HasName()) {
        return;
    }
    const std::size_t mask = hashes_.size() - 1;
    std::size_t slot = child->nameHash_ & mask;
    while (nodes_[slot] != child) {
        slot = (slot + 1) & mask;
    }
    nodes_[slot] = nullptr;
}

CRegNode* CRegIndex::FindExact(std::string_view name, std::uint32_t hash) const {
    const std::size_t mask = hashes_.size() - 1;
    for (std::size_t slot = hash & mask; hashes_[slot] != 0; slot = (slot + 1) & mask) {
        if (hashes_[slot] == hash && nodes_[slot] != nullptr && nodes_[slot]->GetName() == name) {
            return nodes_[slot];
        }
    }
    return nullptr;
}

// Numbers the children anew, so that their positions are their places.
void CRegIndex::BuildPlaces() {
    byPlace_.reserve(static_cast<std::size_t>(directory_.ChildCount()));
    for (CRegNode* child = directory_.First(); child != nullptr; child = child->nextSibling_) {
        const auto place = static_cast<std::uint32_t>(byPlace_.size());
        if (child->HasName()) {
            NoteLength(std::string_view(child->GetName()).size(), place);
        }
        child->position_ = place;
        byPlace_.push_back(child);
    }
}

// Takes in that a name of `length` characters stands at `place`, which is behind all others.
void CRegIndex::NoteLength(std::size_t length, std::uint32_t place) {
    firstLonger_.resize(std::max(firstLonger_.size(), length), place);
}

void CRegIndex::DropPlaces() {
    firstLonger_.clear();
    byPlace_.clear();
    beginnings_.clear();
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
    if ((beginnings.usedChains + 1) * 4 > beginnings.chains.size() * 3) {
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
    if (byPlace_.empty()) {
        try {
            BuildPlaces();
        } catch (const std::bad_alloc&) {
            DropPlaces();
            throw;
        }
    }
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
