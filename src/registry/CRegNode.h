// A node of the registry tree: a directory, a value or a comment. A node owns its name, its value
// and its children. One thread at a time may use a tree, for look-ups too: they keep an index.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace Tova {

class CRegIndex;

enum class RegNodeType : std::int32_t { Directory = 0, Value = 1, Comment = 2 };

// Children keep the order in which they were made. Their names need not differ here; the operations
// of CRegDir, through which trees are made, look a name up before they make a node of it. Neither
// depth nor number of the nodes is limited: no operation recurses, and none walks a long list of
// children to find a name.
class CRegNode {
public:
    // Copies both texts, which may be null. With a parent, the node becomes its last child and
    // belongs to it; without one, the caller owns it. The node and its ancestors become modified.
    CRegNode(RegNodeType type, CRegNode* parent, const char* name, const char* value);
    // Frees everything below, unlinks the node from its parent and marks the parent modified.
    // Handles on what is freed are not told: let go of them first.
    ~CRegNode();
    CRegNode(const CRegNode&) = delete;
    CRegNode& operator=(const CRegNode&) = delete;

    // A new last child, which this node owns.
    CRegNode* AddChild(RegNodeType type, const char* name, const char* value);

    // The first child, in order and comments left out, with the given name: the whole name for a
    // length below 1, else any name that begins with the first `length` characters of `name`. So
    // a path's inner segment "ab" finds "abc" when that comes first; paths rely on it. Null if
    // none.
    CRegNode* Find(const char* name, int length) const;
    // Follows a path of names with "/" between them: inner segments match by prefix, the last one
    // exactly. A node on the way that is no directory is the result, whatever follows. Null if
    // none.
    CRegNode* DeepFind(const char* path) const;
    // The i-th child from 0, comments not counted, or null. Counting up or down takes constant time
    // a step.
    CRegNode* Index(int i) const;

    // Stores a copy of `text`, which may be (part of) the present value; null clears. An equal text
    // changes nothing and marks nothing.
    void SetValue(const char* text);
    // The text of a value or comment, or null; valid until it is changed.
    const char* GetValue() const { return value_.get(); }

    // Marks this node and every ancestor.
    void SetModified();
    // Clears the mark of this node and of everything below; ancestors keep theirs.
    void SetUnmodified();
    bool IsModified() const { return modified_; }

    RegNodeType GetType() const { return type_; }
    bool IsDirectory() const { return type_ == RegNodeType::Directory; }
    // Null for a comment.
    const char* GetName() const { return name_.get(); }
    // How many handles point here. The count frees nothing.
    int HandleCount() const { return handleCount_; }

    // To walk everything in file order, comments included.
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
    // Null while the list is short.
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
    // Made by the first look-up in a long list, null until then.
    mutable std::unique_ptr<CRegIndex> index_;
};

}  // namespace Tova
