#include "registry/CRegNode.h"

#include "registry/CRegIndex.h"
#include "registry/RegNames.h"
#include "text/CPool.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace Tova {

// The memory of one tree.
struct CRegPool : CPool {
    // How many nodes are not in it.
    std::size_t heapNodes = 0;
};

namespace {

// A directory with more children keeps an index.
constexpr int cLongList = 16;
// A segment of a path that leads to a new entry has fewer characters.
constexpr std::size_t cSegmentSize = 80;

std::string_view viewOf(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

std::size_t roomFor(std::string_view text) {
    return text.data() == nullptr ? 0 : text.size() + 1;
}

// Copies a text and puts a NUL behind it. Returns null for no text.
char* writeText(void* memory, std::string_view text) {
    if (text.data() == nullptr) {
        return nullptr;
    }
    auto* copy = static_cast<char*>(memory);
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

char* copyText(CPool& pool, std::string_view text) {
    return text.data() == nullptr ? nullptr : writeText(pool.Allocate(roomFor(text)), text);
}

void freeText(CPool& pool, char* text) {
    if (text != nullptr) {
        pool.Free(text, std::strlen(text) + 1);
    }
}

CRegNode* skipComments(CRegNode* node, CRegNode* (*step)(CRegNode*)) {
    while (node != nullptr && node->GetType() == RegNodeType::Comment) {
        node = step(node);
    }
    return node;
}

}  // namespace

CRegNode::CRegNode(RegNodeType type, CRegNode* parent, const char* name, const char* value)
    : parent_(parent), nameHash_(CRegIndex::HashOf(viewOf(name))), type_(type) {
    if (parent == nullptr) {
        auto pool = std::make_unique<CRegPool>();
        name_ = copyText(*pool, viewOf(name));
        char* text = copyText(*pool, viewOf(value));
        branch_ = ::new (pool->Allocate(sizeof(Branch))) Branch{text, pool.get()};
        hasBranch_ = true;
        static_cast<void>(pool.release());  // it ends with the root
        return;
    }
    CRegPool& pool = *parent->MakeBranch().pool;
    name_ = copyText(pool, viewOf(name));
    value_ = copyText(pool, viewOf(value));
    ++pool.heapNodes;
    parent->Append(this);
}

CRegNode::CRegNode(RegNodeType type, CRegNode* parent, std::string_view name, std::uint32_t hash,
                   std::string_view value)
    : parent_(parent), nameHash_(hash), type_(type), holdsName_(true), holdsValue_(true) {
    auto* room = reinterpret_cast<char*>(this + 1);
    name_ = writeText(room, name);
    value_ = writeText(room + roomFor(name), value);
}

CRegNode::~CRegNode() {
    CRegPool& pool = Pool();
    if (parent_ == nullptr) {
        // All else goes with the pool.
        if (pool.heapNodes > 0) {
            DestroyChildren();
        }
        delete &pool;
        return;
    }
    DestroyChildren();
    parent_->Remove(this);
    parent_->SetModified();
    FreeParts(pool);
    pool.heapNodes -= units_ == 0 ? 1 : 0;
}

void CRegNode::operator delete(CRegNode* node, std::destroying_delete_t) {
    if (node == nullptr) {
        return;
    }
    if (node->parent_ == nullptr || node->units_ == 0) {
        node->~CRegNode();
        ::operator delete(node);
        return;
    }
    const std::size_t size = node->units_ * CPool::cUnit;
    CRegPool& pool = node->Pool();
    node->~CRegNode();
    pool.Free(node, size);
}

CRegNode* CRegNode::AddChild(RegNodeType type, const char* name, const char* value) {
    return Make(type, viewOf(name), CRegIndex::HashOf(viewOf(name)), viewOf(value));
}

CRegNode* CRegNode::Make(RegNodeType type, std::string_view name, std::uint32_t hash,
                         std::string_view value) {
    const std::size_t size = sizeof(CRegNode) + roomFor(name) + roomFor(value);
    void* memory = MakeBranch().pool->Allocate(size);
    auto* node = ::new (memory) CRegNode(type, this, name, hash, value);
    node->units_ =
        static_cast<std::uint16_t>(std::min<std::size_t>(CPool::Units(size), UINT16_MAX));
    Append(node);
    return node;
}

// A tree is as deep as its file made it, so this is a loop. It takes the first child out of its
// list before it goes down, so that its parent has the next one at hand.
void CRegNode::DestroyChildren() {
    CRegPool& pool = Pool();
    for (CRegNode* node = this;;) {
        if (CRegNode* child = node->First(); child != nullptr) {
            node->branch_->firstChild = child->nextSibling_;
            node = child;
            continue;
        }
        if (node == this) {
            return;
        }
        CRegNode* parent = node->parent_;
        node->FreeParts(pool);
        if (node->units_ == 0) {
            --pool.heapNodes;
            ::operator delete(node);
        } else {
            pool.Free(node, node->units_ * CPool::cUnit);
        }
        node = parent;
    }
}

void CRegNode::FreeParts(CPool& pool) {
    if (!holdsName_) {
        freeText(pool, name_);
    }
    if (!holdsValue_) {
        freeText(pool, hasBranch_ ? branch_->value : value_);
    }
    if (hasBranch_) {
        DropIndex();
        pool.Free(branch_, sizeof(Branch));
    }
}

// Each node but the root has a parent, which has a branch, as the root has.
CRegPool& CRegNode::Pool() const {
    return *(hasBranch_ || parent_ == nullptr ? branch_ : parent_->branch_)->pool;
}

CRegNode::Branch& CRegNode::MakeBranch() {
    if (!hasBranch_) {
        CRegPool& pool = Pool();
        branch_ = ::new (pool.Allocate(sizeof(Branch))) Branch{value_, &pool};
        hasBranch_ = true;
    }
    return *branch_;
}

void CRegNode::Append(CRegNode* child) {
    Branch& branch = *branch_;
    CRegNode* last = branch.lastChild;
    if (last != nullptr && last->position_ == UINT32_MAX) {
        DropIndex();
        std::uint32_t position = 0;
        for (CRegNode* each = branch.firstChild; each != nullptr; each = each->nextSibling_) {
            each->position_ = position++;
        }
    }
    child->previousSibling_ = last;
    child->position_ = last == nullptr ? 0 : last->position_ + 1;
    (last == nullptr ? branch.firstChild : last->nextSibling_) = child;
    branch.lastChild = child;
    ++branch.childCount;
    branch.hashes |= HashBit(child->nameHash_);
    if (branch.index != nullptr) {
        try {
            branch.index->Add(child);
        } catch (const std::bad_alloc&) {
            DropIndex();
        }
    }
    child->SetModified();
}

void CRegNode::Remove(CRegNode* child) {
    Branch& branch = *branch_;
    if (branch.index != nullptr && !branch.index->Remove(child)) {
        DropIndex();
    }
    CRegNode* previous = child->previousSibling_;
    CRegNode* next = child->nextSibling_;
    (previous == nullptr ? branch.firstChild : previous->nextSibling_) = next;
    (next == nullptr ? branch.lastChild : next->previousSibling_) = previous;
    --branch.childCount;
}

void CRegNode::DropIndex() {
    if (CRegIndex* index = std::exchange(branch_->index, nullptr); index != nullptr) {
        index->~CRegIndex();
        branch_->pool->Free(index, sizeof(CRegIndex));
    }
}

CRegNode* CRegNode::FirstEntry() const {
    return skipComments(First(), [](CRegNode* node) { return node->nextSibling_; });
}

CRegNode* CRegNode::NextEntry() const {
    return skipComments(nextSibling_, [](CRegNode* node) { return node->nextSibling_; });
}

CRegNode* CRegNode::PreviousEntry() const {
    return skipComments(previousSibling_, [](CRegNode* node) { return node->previousSibling_; });
}

CRegIndex* CRegNode::LongListIndex() const {
    if (ChildCount() <= cLongList && (!hasBranch_ || branch_->index == nullptr)) {
        return nullptr;
    }
    if (branch_->index == nullptr) {
        void* memory = nullptr;
        try {
            memory = branch_->pool->Allocate(sizeof(CRegIndex));
            branch_->index =
                ::new (memory) CRegIndex(*branch_->firstChild->parent_, *branch_->pool);
        } catch (const std::bad_alloc&) {
            // Without memory for an index, the list is walked.
            if (memory != nullptr) {
                branch_->pool->Free(memory, sizeof(CRegIndex));
            }
        }
    }
    return branch_->index;
}

CRegNode* CRegNode::FindExact(std::string_view name, std::uint32_t hash) const {
    if (CRegIndex* index = LongListIndex(); index != nullptr) {
        return index->FindExact(name, hash);
    }
    if (!hasBranch_ || (branch_->hashes & HashBit(hash)) == 0) {
        return nullptr;
    }
    for (CRegNode* child = First(); child != nullptr; child = child->nextSibling_) {
        if (child->nameHash_ == hash && child->HasName() && child->name_ == name) {
            return child;
        }
    }
    return nullptr;
}

CRegNode* CRegNode::FindExact(std::string_view name) const {
    return FindExact(name, CRegIndex::HashOf(name));
}

CRegNode* CRegNode::FindPrefix(std::string_view prefix) const {
    if (CRegIndex* index = LongListIndex(); index != nullptr) {
        try {
            return index->FindPrefix(prefix);
        } catch (const std::bad_alloc&) {
            // The list is walked here too.
        }
    }
    CRegNode* child = First();
    while (child != nullptr &&
           !(child->HasName() && std::strncmp(child->name_, prefix.data(), prefix.size()) == 0)) {
        child = child->nextSibling_;
    }
    return child;
}

CRegNode* CRegNode::OpenOrMake(std::string_view name) {
    const std::uint32_t hash = CRegIndex::HashOf(name);
    if (CRegNode* found = FindExact(name, hash); found != nullptr) {
        return found->IsDirectory() ? found : nullptr;
    }
    return RegNames::IsValid(name) ? Make(RegNodeType::Directory, name, hash, {}) : nullptr;
}

CRegNode* CRegNode::FollowParents(std::string_view& path) {
    CRegNode* directory = this;
    for (std::size_t slash = path.find('/'); slash != path.npos; slash = path.find('/')) {
        directory = slash < cSegmentSize ? directory->OpenOrMake(path.substr(0, slash)) : nullptr;
        if (directory == nullptr) {
            return nullptr;
        }
        path.remove_prefix(slash + 1);
    }
    return directory;
}

CRegNode* CRegNode::OpenOrMakePath(std::string_view path) {
    CRegNode* parent = FollowParents(path);
    return parent == nullptr ? nullptr : parent->OpenOrMake(path);
}

bool CRegNode::SetValueAt(std::string_view path, std::string_view value) {
    CRegNode* parent = FollowParents(path);
    if (parent == nullptr) {
        return false;
    }
    const std::uint32_t hash = CRegIndex::HashOf(path);
    if (CRegNode* found = parent->FindExact(path, hash); found != nullptr) {
        if (!found->IsDirectory()) {
            found->StoreValue(value);
        }
        return !found->IsDirectory();
    }
    if (!RegNames::IsValid(path)) {
        return false;
    }
    parent->Make(RegNodeType::Value, path, hash, value);
    return true;
}

void CRegNode::AddComment(std::string_view text) {
    Make(RegNodeType::Comment, {}, CRegIndex::HashOf({}), text);
}

CRegNode* CRegNode::Find(const char* name, int length) const {
    if (name == nullptr) {
        return nullptr;
    }
    if (length < 1) {
        return FindExact(name);
    }
    // If one of the texts ends before `length`, they are equal only if both end there.
    const std::size_t limit = static_cast<std::size_t>(length);
    const std::size_t size = strnlen(name, limit);
    return size < limit ? FindExact({name, size}) : FindPrefix({name, size});
}

CRegNode* CRegNode::DeepFind(const char* path) const {
    if (path == nullptr) {
        return nullptr;
    }
    const CRegNode* directory = this;
    while (const char* slash = std::strchr(path, '/')) {
        const std::string_view segment(path, static_cast<std::size_t>(slash - path));
        CRegNode* child =
            segment.empty() ? directory->FindExact(segment) : directory->FindPrefix(segment);
        if (child == nullptr || !child->IsDirectory()) {
            return child;
        }
        directory = child;
        path = slash + 1;
    }
    return directory->FindExact(path);
}

CRegNode* CRegNode::Index(int i) const {
    if (CRegIndex* index = LongListIndex(); index != nullptr) {
        return index->Entry(i);
    }
    CRegNode* entry = i < 0 ? nullptr : FirstEntry();
    while (entry != nullptr && i > 0) {
        entry = entry->NextEntry();
        --i;
    }
    return entry;
}

void CRegNode::SetValue(const char* text) {
    StoreValue(viewOf(text));
}

void CRegNode::StoreValue(std::string_view text) {
    char*& value = hasBranch_ ? branch_->value : value_;
    if (text.data() == nullptr ? value == nullptr : value != nullptr && value == text) {
        return;
    }
    CRegPool& pool = Pool();
    char* copy = copyText(pool, text);
    if (!holdsValue_) {
        freeText(pool, value);
    }
    value = copy;
    holdsValue_ = false;
    SetModified();
}

// The ancestors of a modified node are all modified: a change marks them, and marks are only taken
// from a whole subtree. So the walk may end at the first marked ancestor, and building a deep tree
// does not walk its depth for each node.
void CRegNode::SetModified() {
    modified_ = true;
    for (CRegNode* node = parent_; node != nullptr && !node->modified_; node = node->parent_) {
        node->modified_ = true;
    }
}

void CRegNode::SetUnmodified() {
    CRegNode* node = this;
    while (true) {
        node->modified_ = false;
        if (CRegNode* child = node->First(); child != nullptr) {
            node = child;
            continue;
        }
        while (node != this && node->nextSibling_ == nullptr) {
            node = node->parent_;
        }
        if (node == this) {
            return;
        }
        node = node->nextSibling_;
    }
}

}  // namespace Tova
