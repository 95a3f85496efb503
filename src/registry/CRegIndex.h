// What a directory with many children keeps so as to find them without walking its list. It changes
// no answer: it can be dropped at any time and made again. One thread at a time may use it.
#pragma once

#include "registry/CRegPrefixTree.h"

#include <memory>
#include <string_view>
#include <unordered_map>

namespace Tova {

class CRegIndex {
public:
    // Takes in the children that `directory` has now. It must outlive the index and report every
    // later change. Throws std::bad_alloc.
    explicit CRegIndex(const CRegNode& directory);

    // The last child, which was just linked. After std::bad_alloc drop the index.
    void Add(CRegNode* child);
    // A child that is about to be unlinked.
    void Remove(CRegNode* child) noexcept;

    // The first child in list order with exactly that name, or null.
    CRegNode* FindExact(std::string_view name) const;
    // The first child in list order whose name begins with `prefix`, or null.
    CRegNode* FindPrefix(std::string_view prefix);
    // The i-th child that is no comment, or null; constant time beside the one asked for last.
    CRegNode* Entry(int i);

private:
    struct Namesakes {
        CRegNode* first;
        int count;
    };

    static CRegPrefixTree::Item ItemOf(CRegNode* child);
    void MoveOffCursor(const CRegNode* child);

    const CRegNode& directory_;
    std::unordered_map<std::string_view, Namesakes> byName_;
    // Made by the first look-up by prefix.
    std::unique_ptr<CRegPrefixTree> byPrefix_;
    CRegNode* cursor_ = nullptr;
    int cursorIndex_ = 0;
};

}  // namespace Tova
