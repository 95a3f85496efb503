#include "registry/CRegIndex.h"

#include "registry/CRegNode.h"

#include <algorithm>

namespace Tova {

namespace {

bool hasFindableName(const CRegNode& node) {
    return node.GetType() != RegNodeType::Comment && node.GetName() != nullptr;
}

}  // namespace

CRegIndex::CRegIndex(const CRegNode& directory) : directory_(directory) {
    byName_.reserve(static_cast<std::size_t>(directory.childCount_));
    for (CRegNode* child = directory.firstChild_; child != nullptr; child = child->nextSibling_) {
        Add(child);
    }
}

void CRegIndex::Add(CRegNode* child) {
    if (!hasFindableName(*child)) {
        return;
    }
    const std::string_view name = child->GetName();
    ++byName_.try_emplace(name, Namesakes{child, 0}).first->second.count;
    longestName_ = std::max(longestName_, name.size());
    for (auto& [length, beginnings] : byBeginning_) {
        if (name.size() >= length) {
            beginnings.emplace(std::pair(name.substr(0, length), child->position_), child);
        }
    }
}

void CRegIndex::Remove(CRegNode* child) noexcept {
    MoveOffCursor(child);
    if (!hasFindableName(*child)) {
        return;
    }
    const std::string_view name = child->GetName();
    for (auto& [length, beginnings] : byBeginning_) {
        beginnings.erase({name.substr(0, length), child->position_});
    }
    const auto found = byName_.find(name);
    const int left = --found->second.count;
    if (found->second.first != child) {
        return;
    }
    // The key is a view of the name that goes, so the next of that name brings its own. Taking the
    // element out and putting it back allocates nothing.
    auto element = byName_.extract(found);
    if (left > 0) {
        CRegNode* next = child->nextSibling_;
        while (!hasFindableName(*next) || next->GetName() != element.key()) {
            next = next->nextSibling_;
        }
        element.key() = next->GetName();
        element.mapped() = {next, left};
        byName_.insert(std::move(element));
    }
}

CRegNode* CRegIndex::FindExact(std::string_view name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second.first;
}

CRegIndex::Beginnings CRegIndex::BeginningsOf(std::size_t length) const {
    Beginnings beginnings;
    for (CRegNode* child = directory_.firstChild_; child != nullptr; child = child->nextSibling_) {
        if (!hasFindableName(*child)) {
            continue;
        }
        if (const std::string_view name = child->GetName(); name.size() >= length) {
            beginnings.emplace(std::pair(name.substr(0, length), child->position_), child);
        }
    }
    return beginnings;
}

CRegNode* CRegIndex::FindPrefix(std::string_view prefix) {
    if (prefix.size() > longestName_) {
        return nullptr;
    }
    auto known = byBeginning_.find(prefix.size());
    if (known == byBeginning_.end()) {
        known = byBeginning_.emplace(prefix.size(), BeginningsOf(prefix.size())).first;
    }
    const Beginnings& beginnings = known->second;
    const auto earliest = beginnings.lower_bound({prefix, 0});
    return earliest != beginnings.end() && earliest->first.first == prefix ? earliest->second
                                                                           : nullptr;
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
