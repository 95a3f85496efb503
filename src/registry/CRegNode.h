// A node of the registry tree: a directory, a value or a comment. A node owns its name, its value
// and its children. One thread at a time may use a tree, also for look-ups, because they keep an
// index.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>

namespace Tova {

class CPool;
class CRegIndex;
struct CRegPool;

enum class RegNodeType : std::int32_t { Directory = 0, Value = 1, Comment = 2 };

// Children keep the order in which they were made. A node accepts equal names; the operations of
// CRegDir, which make trees, look a name up before they make a node. Depth and number of the nodes
// have no limit: no operation recurses, and none walks a long list of children to find a name.
// A root owns a pool, from which its tree has its memory.
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

    // Nodes come from the general heap, or from AddChild and the pool. Deleting one returns its
    // memory to where it came from.
    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void operator delete(void* memory) { ::operator delete(memory); }
    static void operator delete(CRegNode* node, std::destroying_delete_t);

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
    const char* GetValue() const { return hasBranch_ ? branch_->value : value_; }

    // These follow a path of exact names, and make the directories that are missing on the way.
    // They return null or false if one cannot be made: its name is a value's or is not valid.
    CRegNode* OpenOrMakePath(std::string_view path);
    // Makes or changes a value. A value that is a view of nothing is no text.
    bool SetValueAt(std::string_view path, std::string_view value);
    void AddComment(std::string_view text);

    // Marks this node and every ancestor.
    void SetModified();
    // Clears the marks of this node and of everything below. Ancestors keep theirs.
    void SetUnmodified();
    bool IsModified() const { return modified_; }

    RegNodeType GetType() const { return type_; }
    bool IsDirectory() const { return type_ == RegNodeType::Directory; }
    // Returns null for a comment.
    const char* GetName() const { return name_; }
    // Returns how many handles point here. The count frees nothing.
    int HandleCount() const { return handleCount_; }

    // These walk everything in file order, comments included.
    const CRegNode* Parent() const { return parent_; }
    const CRegNode* FirstChild() const { return First(); }
    const CRegNode* NextSibling() const { return nextSibling_; }

private:
    friend class CRegDir;
    friend class CRegIndex;

    // What a node with children has besides. A root always has it.
    struct Branch {
        char* value;  // takes the place of value_
        CRegPool* pool;
        CRegNode* firstChild = nullptr;
        CRegNode* lastChild = nullptr;
        // The first look-up in a long list makes it. Null until then.
        CRegIndex* index = nullptr;
        int childCount = 0;
        // Has the bit of each child's hash, also of those that went. A name whose bit is missing is
        // no child's, and the list is not walked for it.
        std::uint32_t hashes = 0;
    };
    static std::uint32_t HashBit(std::uint32_t hash) { return std::uint32_t{1} << hash % 32; }

    // Makes a node in memory of the pool, with room for both texts behind it.
    CRegNode(RegNodeType type, CRegNode* parent, std::string_view name, std::uint32_t hash,
             std::string_view value);
    // These texts may be views of nothing, which means no text. `hash` is that of the name.
    CRegNode* Make(RegNodeType type, std::string_view name, std::uint32_t hash,
                   std::string_view value);
    void StoreValue(std::string_view text);

    // Leaves the last segment in `path`, or the one that failed and what follows.
    CRegNode* FollowParents(std::string_view& path);
    CRegNode* OpenOrMake(std::string_view name);

    // An entry is a child that is no comment.
    CRegNode* FirstEntry() const;
    CRegNode* NextEntry() const;
    CRegNode* PreviousEntry() const;
    CRegNode* FindExact(std::string_view name) const;
    CRegNode* FindExact(std::string_view name, std::uint32_t hash) const;
    CRegNode* FindPrefix(std::string_view prefix) const;
    // Returns null while the list is short.
    CRegIndex* LongListIndex() const;
    bool HasName() const { return type_ != RegNodeType::Comment && name_ != nullptr; }
    CRegNode* First() const { return hasBranch_ ? branch_->firstChild : nullptr; }
    int ChildCount() const { return hasBranch_ ? branch_->childCount : 0; }
    CRegPool& Pool() const;
    Branch& MakeBranch();
    void Append(CRegNode* child);
    void Remove(CRegNode* child);
    void DestroyChildren();
    void FreeParts(CPool& pool);
    void DropIndex();

    CRegNode* parent_;
    CRegNode* nextSibling_ = nullptr;
    CRegNode* previousSibling_ = nullptr;
    char* name_;
    union {
        char* value_ = nullptr;
        Branch* branch_;
    };
    std::int32_t handleCount_ = 0;
    std::uint32_t nameHash_;
    // Grows from sibling to sibling, with gaps where nodes were deleted. An index numbers the
    // siblings anew.
    std::uint32_t position_ = 0;
    RegNodeType type_ : 4;
    bool modified_ : 1 = true;
    bool hasBranch_ : 1 = false;
    // The name, and the value, stand right behind the node, in its own piece of memory.
    bool holdsName_ : 1 = false;
    bool holdsValue_ : 1 = false;
    // The size of the node's piece of the pool, or 0 if the node is not the pool's. The pool wants
    // no exact size for a large piece, so that there the largest number serves.
    std::uint16_t units_ = 0;
};

}  // namespace Tova
