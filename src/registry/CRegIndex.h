// The index that a directory with many children keeps, so that it finds them without walking its
// list. The index changes no answer: a directory may drop it at any time and make it again. Its
// memory is the tree's. One thread at a time may use it.
#pragma once

#include "text/CPool.h"
#include "text/NameHash.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Tova {

class CRegNode;

class CRegIndex {
public:
    // Takes in the children that `directory` has now. The directory must outlive the index and
    // report every later change. Throws std::bad_alloc.
    CRegIndex(CRegNode& directory, CPool& pool);

    // Takes in the last child, which was just linked. Throws std::bad_alloc; the owner must then
    // drop the index.
    void Add(CRegNode* child);
    // Forgets a child that is about to be unlinked. Returns false if so many have gone that the
    // owner must drop the index.
    [[nodiscard]] bool Remove(const CRegNode* child) noexcept;

    // Returns the first child in list order that has exactly this name, or null. `hash` is its
    // hash.
    CRegNode* FindExact(std::string_view name, std::uint32_t hash) const;
    // Returns the first child in list order whose name begins with `prefix`, or null. The first
    // look-up with a prefix of a new length, also after the table of names has grown, takes time in
    // proportion to the list. Throws std::bad_alloc; the index may then still be used.
    CRegNode* FindPrefix(std::string_view prefix);
    // Returns the i-th child that is no comment, or null. Takes constant time beside the child that
    // was asked for last.
    CRegNode* Entry(int i);

    // Returns the hash of a name or of its beginning. It is never 0.
    static std::uint32_t HashOf(std::string_view text) {
        return std::max<std::uint32_t>(static_cast<std::uint32_t>(HashName(text)), 1);
    }

private:
    // The children whose names have more characters than that, by so many of the first. Those that
    // begin alike are chained in list order.
    struct Beginnings {
        struct Chain {
            std::uint32_t hash;   // 0 marks a slot that was never used
            std::uint32_t first;  // a place; cNoPlace if the chain is used up
            std::uint32_t last;
        };
        Beginnings(std::size_t count, std::pmr::memory_resource* memory)
            : length(count), chains(memory), next(memory) {}

        std::size_t length;
        std::size_t usedChains = 0;
        std::pmr::vector<Chain> chains;        // a power of two, probed one after the other
        std::pmr::vector<std::uint32_t> next;  // leads from place to place
    };
    static constexpr std::uint32_t cNoPlace = UINT32_MAX;

    void Build();
    void Insert(CRegNode* child);
    void NoteLength(std::size_t length, std::uint32_t place);
    static std::uint64_t LengthBit(std::size_t length) { return std::uint64_t{1} << length % 64; }
    Beginnings MakeBeginnings(std::size_t length) const;
    void AddBeginning(Beginnings& beginnings, std::string_view name, std::uint32_t place) const;
    Beginnings::Chain& ChainOf(Beginnings& beginnings, std::string_view beginning,
                               std::uint32_t hash) const;
    void MoveOffCursor(const CRegNode* child);

    CRegNode& directory_;
    // Holds the children in list order, and null for those that went. The tables know a child by
    // its place here, so that its removal touches nothing else.
    std::pmr::vector<CRegNode*> byPlace_;
    // The children with a name, probed one after the other. The slot of a child that went stays in
    // use, so that namesakes are met in list order.
    std::pmr::vector<std::uint32_t> hashes_;  // 0 marks a slot that was never used
    std::pmr::vector<std::uint32_t> places_;
    std::size_t usedSlots_ = 0;

    // Has the bit of each name's length. If the bit of a prefix's length is missing, the prefix is
    // none of the names, and the look-up spares a cache miss.
    std::uint64_t lengths_ = 0;
    // By a length, a place before which no name is longer. So a child that has exactly the name
    // looked for is often known to be the first, without a table of beginnings.
    std::pmr::vector<std::uint32_t> firstLonger_;
    std::pmr::vector<Beginnings> beginnings_;  // for the lengths that were looked for

    CRegNode* cursor_ = nullptr;
    int cursorIndex_ = 0;
};

}  // namespace Tova
