// A node of the registry tree: a directory, a value or a comment. A node owns its name, its value
// and its children. One thread at a time may use a tree, also for look-ups, because they keep an
// index.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace Tova {

class CRegIndex;

enum class RegNodeType : std::int32_t { Directory = 0, Value = 1, Comment = 2 };

// Children keep the order in which they were made. A node accepts equal names; the operations of
// CRegDir, which make trees, look a name up before they make a node. Depth and number of the nodes
// have no limit: no operation recurses, and none walks a long list of children to find a name.
class CRegNode {
public:
    // Copies both texts, which may be null. If there is a parent, the node becomes its last child
    // and belongs to it; otherwise the caller owns the node. The node and its ancestors become
    // modified.
    CRegNode(RegNodeType type, CRegNode* parent, const char* name, const char* value);
    // Frees everything below, unlinks the node from its parent and marks the parent modified.
    // Handles on freed nodes must have let go before.
    ~CRegNode();
    CRegNode(const CRegNode&) = delete;
    CRegNode& operator=(const CRegNode&) = delete;

    // Makes a new last child, which this node owns.
    CRegNode* AddChild(RegNodeType type, const char* name, const char* value);

    // Returns the first child, comments left out, that has this name, or null. A length below 1
    // compares whole names. Otherwise only the first `length` characters are compared.
    // Deliberate: so the inner segment "ab" of a path finds "abc" if that comes first. Applications
    // abbreviate paths with it.
    CRegNode* Find(const char* name, int length) const;
    // Follows a path of names with "/" between them and returns the node, or null. Inner segments
    // match by prefix, the last one exactly.
    // Deliberate: a node on the way that is no directory is the result, and the rest is ignored.
    CRegNode* DeepFind(const char* path) const;
    // Returns the i-th child from 0, comments not counted, or null. Counting up or down takes
    // constant time a step.
    CRegNode* Index(int i) const;

    // Stores a copy of `text`, which may lie in the present value; null clears the value. An equal
    // text changes nothing and marks nothing.
    void SetValue(const char* text);
    // Returns the text of a value or comment, or null. It is valid until it is changed.
    const char* GetValue() const { return value_.get(); }

    // Marks this node and every ancestor.
    void SetModified();
    // Clears the marks of this node and of everything below. Ancestors keep theirs.
    void SetUnmodified();
    bool IsModified() const { return modified_; }

    RegNodeType GetType() const { return type_; }
    bool IsDirectory() const { return type_ == RegNodeType::Directory; }
    // Returns null for a comment.
    const char* GetName() const { return name_.get(); }
    // Returns how many handles point here. The count frees nothing.
    int HandleCount() const { return handleCount_; }

    // These walk everything in file order, comments included.
    const CRegNode* Parent() const { return parent_; }
    const CRegNode* FirstChild() const { return firstChild_; }
    const CRegNode* NextSibling() const { return nextSibling_; }

private:
    friend class CRegDir;
    friend class CRegIndex;

    // An entry is a child that is no comment.
    CRegNode* FirstEntry() const;
    CRegNode* NextEntry() const;
    CRegNode* PreviousEntry() const;
    CRegNode* FindExact(std::string_view name) const;
    CRegNode* FindPrefix(std::string_view prefix) const;
    // Returns null while the list is short.
    CRegIndex* LongListIndex() const;
    void Append(CRegNode* child);
    void Remove(CRegNode* child);
    void DestroyChildren();

    RegNodeType type_;
    std::int32_t handleCount_ = 0;
    bool modified_ = false;
    std::unique_ptr<char[]> name_;
    std::unique_ptr<char[]> value_;
    CRegNode* parent_ = nullptr;
    CRegNode* firstChild_ = nullptr;
    CRegNode* nextSibling_ = nullptr;
    CRegNode* previousSibling_ = nullptr;
    CRegNode* lastChild_ = nullptr;
    int childCount_ = 0;
    // Grows from sibling to sibling, with gaps where nodes were deleted.
    std::uint64_t position_ = 0;
    // The first look-up in a long list makes it. Null until then.
    mutable std::unique_ptr<CRegIndex> index_;
};

}  // namespace Tova
