#include "registry/CRegNode.h"

#include "registry/CRegIndex.h"

#include <cstring>
#include <new>

namespace Tova {

namespace {

// A directory with more children keeps an index.
constexpr int cLongList = 16;

std::unique_ptr<char[]> copyText(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    auto copy = std::make_unique_for_overwrite<char[]>(size);
    std::memcpy(copy.get(), text, size);
    return copy;
}

CRegNode* skipComments(CRegNode* node, CRegNode* (*step)(CRegNode*)) {
    while (node != nullptr && node->GetType() == RegNodeType::Comment) {
        node = step(node);
    }
    return node;
}

}  // namespace

CRegNode::CRegNode(RegNodeType type, CRegNode* parent, const char* name, const char* value)
    : type_(type), name_(copyText(name)), value_(copyText(value)) {
    if (parent != nullptr) {
        parent->Append(this);
    }
    SetModified();
}

CRegNode::~CRegNode() {
    DestroyChildren();
    if (CRegNode* parent = parent_; parent != nullptr) {
        parent->Remove(this);
        parent->SetModified();
    }
}

CRegNode* CRegNode::AddChild(RegNodeType type, const char* name, const char* value) {
    return new CRegNode(type, this, name, value);
}

// Frees everything below in a loop, because a tree may be as deep as its file made it. Each node
// that is deleted has neither children nor a parent by then.
void CRegNode::DestroyChildren() {
    CRegNode* node = this;
    while (true) {
        node->index_.reset();
        if (node->firstChild_ != nullptr) {
            node = node->firstChild_;
            continue;
        }
        node->lastChild_ = nullptr;
        node->childCount_ = 0;
        if (node == this) {
            return;
        }
        CRegNode* parent = node->parent_;
        parent->firstChild_ = node->nextSibling_;
        node->parent_ = nullptr;
        delete node;
        node = parent;
    }
}

void CRegNode::Append(CRegNode* child) {
    child->parent_ = this;
    child->previousSibling_ = lastChild_;
    child->position_ = lastChild_ == nullptr ? 0 : lastChild_->position_ + 1;
    (lastChild_ == nullptr ? firstChild_ : lastChild_->nextSibling_) = child;
    lastChild_ = child;
    ++childCount_;
    if (index_) {
        try {
            index_->Add(child);
        } catch (const std::bad_alloc&) {
            index_.reset();
        }
    }
}

void CRegNode::Remove(CRegNode* child) {
    if (index_) {
        index_->Remove(child);
    }
    CRegNode* previous = child->previousSibling_;
    CRegNode* next = child->nextSibling_;
    (previous == nullptr ? firstChild_ : previous->nextSibling_) = next;
    (next == nullptr ? lastChild_ : next->previousSibling_) = previous;
    --childCount_;
}

CRegNode* CRegNode::FirstEntry() const {
    return skipComments(firstChild_, [](CRegNode* node) { return node->nextSibling_; });
}

CRegNode* CRegNode::NextEntry() const {
    return skipComments(nextSibling_, [](CRegNode* node) { return node->nextSibling_; });
}

CRegNode* CRegNode::PreviousEntry() const {
    return skipComments(previousSibling_, [](CRegNode* node) { return node->previousSibling_; });
}

CRegIndex* CRegNode::LongListIndex() const {
    if (!index_ && childCount_ > cLongList) {
        try {
            index_ = std::make_unique<CRegIndex>(*this);
        } catch (const std::bad_alloc&) {
            // Without memory for an index, the list is walked.
        }
    }
    return index_.get();
}

CRegNode* CRegNode::FindExact(std::string_view name) const {
    if (CRegIndex* index = LongListIndex(); index != nullptr) {
        return index->FindExact(name);
    }
    CRegNode* entry = FirstEntry();
    while (entry != nullptr && (!entry->name_ || entry->name_.get() != name)) {
        entry = entry->NextEntry();
    }
    return entry;
}

CRegNode* CRegNode::FindPrefix(std::string_view prefix) const {
    if (CRegIndex* index = LongListIndex(); index != nullptr) {
        try {
            return index->FindPrefix(prefix);
        } catch (const std::bad_alloc&) {
            // The list is walked here too.
        }
    }
    CRegNode* entry = FirstEntry();
    while (entry != nullptr &&
           (!entry->name_ || std::strncmp(entry->name_.get(), prefix.data(), prefix.size()) != 0)) {
        entry = entry->NextEntry();
    }
    return entry;
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
    const bool same = text == nullptr ? value_ == nullptr
                                      : value_ != nullptr && std::strcmp(value_.get(), text) == 0;
    if (same) {
        return;
    }
    value_ = copyText(text);
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
        if (node->firstChild_ != nullptr) {
            node = node->firstChild_;
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
