// Finds, among the names in a long list, the first in list order that begins with a given text. A
// balanced search tree over the names in which every subtree knows its earliest member, so that
// adding, removing and finding all take logarithmic time, and recursion is as shallow.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Tova {

class CRegNode;

class CRegPrefixTree {
public:
    // A name in the list; positions differ and grow along the list. The name's text must live as
    // long as the item is in the tree.
    struct Item {
        std::string_view name;
        std::uint64_t position = 0;
        CRegNode* node = nullptr;
    };

    // After std::bad_alloc the tree is as before.
    void Insert(const Item& item);
    // Removes an item that is in the tree.
    void Remove(const Item& item);
    // The node of the earliest item whose name begins with `prefix`, or null.
    CRegNode* FindFirst(std::string_view prefix) const;
    // How many items stand above one another at most: below 1.45 times the logarithm (base 2) of
    // their number, and 2.
    int Depth() const { return Height(root_); }

private:
    // Links are indexes into links_, so that growth may move them.
    using Link = std::int32_t;
    static constexpr Link cNone = -1;
    struct Entry {
        Item item;
        Link left = cNone;
        Link right = cNone;
        Link earliest = cNone;
        std::int32_t height = 1;
    };

    Entry& At(Link link) { return links_[static_cast<std::size_t>(link)]; }
    const Entry& At(Link link) const { return links_[static_cast<std::size_t>(link)]; }
    std::int32_t Height(Link link) const { return link == cNone ? 0 : At(link).height; }
    Link Earlier(Link a, Link b) const;
    Link EarliestOf(Link subtree) const { return subtree == cNone ? cNone : At(subtree).earliest; }
    void Update(Link link);
    Link RotateLeft(Link link);
    Link RotateRight(Link link);
    Link Balance(Link link);
    Link InsertBelow(Link root, Link added);
    Link RemoveBelow(Link root, const Item& item);
    Link TakeLowest(Link root, Link& lowest);

    std::vector<Entry> links_;
    Link root_ = cNone;
    Link free_ = cNone;  // chained through `left`
};

}  // namespace Tova
