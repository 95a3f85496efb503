// The index that a directory with many children keeps, so that it finds them without walking its
// list. The index changes no answer: a directory may drop it at any time and make it again. One
// thread at a time may use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Tova {

class CRegNode;

class CRegIndex {
public:
    // Takes in the children that `directory` has now. The directory must outlive the index and
    // report every later change. Throws std::bad_alloc.
    explicit CRegIndex(const CRegNode& directory);

    // Takes in the last child, which was just linked. Throws std::bad_alloc; the owner must then
    // drop the index.
    void Add(CRegNode* child);
    // Forgets a child that is about to be unlinked.
    void Remove(CRegNode* child) noexcept;

    // Returns the first child in list order that has exactly this name, or null.
    CRegNode* FindExact(std::string_view name) const;
    // Returns the first child in list order whose name begins with `prefix`, or null. The first
    // look-up with a prefix of a new length takes time in proportion to the list.
    CRegNode* FindPrefix(std::string_view prefix);
    // Returns the i-th child that is no comment, or null. Takes constant time beside the child that
    // was asked for last.
    CRegNode* Entry(int i);

private:
    struct Namesakes {
        CRegNode* first;
        int count;
    };
    // Children by the first characters of their names; those that begin alike are in list order.
    // Only names that have so many characters are in it.
    using Beginnings = std::map<std::pair<std::string_view, std::uint64_t>, CRegNode*>;

    Beginnings BeginningsOf(std::size_t length) const;
    void MoveOffCursor(const CRegNode* child);

    const CRegNode& directory_;
    std::unordered_map<std::string_view, Namesakes> byName_;
    std::size_t longestName_ = 0;
    // For each prefix length that was asked for.
    std::map<std::size_t, Beginnings> byBeginning_;
    CRegNode* cursor_ = nullptr;
    int cursorIndex_ = 0;
};

}  // namespace Tova
