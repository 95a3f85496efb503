#include "registry/CRegPrefixTree.h"

#include <algorithm>
#include <tuple>

namespace Tova {

namespace {

bool Before(const CRegPrefixTree::Item& a, const CRegPrefixTree::Item& b) {
    return std::tie(a.name, a.position) < std::tie(b.name, b.position);
}

// Below 0 when all names beginning with `prefix` stand after `name`, above 0 when before it, 0 when
// `name` is one of them.
int compareStart(std::string_view name, std::string_view prefix) {
    return name.substr(0, prefix.size()).compare(prefix);
}

}  // namespace

CRegPrefixTree::Link CRegPrefixTree::Earlier(Link a, Link b) const {
    if (a == cNone || b == cNone) {
        return a == cNone ? b : a;
    }
    return At(a).item.position < At(b).item.position ? a : b;
}

void CRegPrefixTree::Update(Link link) {
    Entry& entry = At(link);
    entry.height = 1 + std::max(Height(entry.left), Height(entry.right));
    entry.earliest = Earlier(link, Earlier(EarliestOf(entry.left), EarliestOf(entry.right)));
}

CRegPrefixTree::Link CRegPrefixTree::RotateLeft(Link link) {
    const Link top = At(link).right;
    At(link).right = At(top).left;
    At(top).left = link;
    Update(link);
    Update(top);
    return top;
}

CRegPrefixTree::Link CRegPrefixTree::RotateRight(Link link) {
    const Link top = At(link).left;
    At(link).left = At(top).right;
    At(top).right = link;
    Update(link);
    Update(top);
    return top;
}

// Restores the heights (which differ by one at most) after a change below, and returns the link
// that now stands in this place.
CRegPrefixTree::Link CRegPrefixTree::Balance(Link link) {
    const Link left = At(link).left;
    const Link right = At(link).right;
    if (Height(left) > Height(right) + 1) {
        if (Height(At(left).left) < Height(At(left).right)) {
            At(link).left = RotateLeft(left);
        }
        return RotateRight(link);
    }
    if (Height(right) > Height(left) + 1) {
        if (Height(At(right).right) < Height(At(right).left)) {
            At(link).right = RotateRight(right);
        }
        return RotateLeft(link);
    }
    Update(link);
    return link;
}

CRegPrefixTree::Link CRegPrefixTree::InsertBelow(Link root, Link added) {
    if (root == cNone) {
        return added;
    }
    if (Before(At(added).item, At(root).item)) {
        At(root).left = InsertBelow(At(root).left, added);
    } else {
        At(root).right = InsertBelow(At(root).right, added);
    }
    return Balance(root);
}

CRegPrefixTree::Link CRegPrefixTree::TakeLowest(Link root, Link& lowest) {
    if (At(root).left == cNone) {
        lowest = root;
        return At(root).right;
    }
    At(root).left = TakeLowest(At(root).left, lowest);
    return Balance(root);
}

CRegPrefixTree::Link CRegPrefixTree::RemoveBelow(Link root, const Item& item) {
    Entry& entry = At(root);
    if (entry.item.position != item.position) {
        Link& side = Before(item, entry.item) ? entry.left : entry.right;
        side = RemoveBelow(side, item);
        return Balance(root);
    }
    const Link left = entry.left;
    const Link right = entry.right;
    entry.left = free_;
    free_ = root;
    if (right == cNone) {
        return left;
    }
    Link lowest = cNone;
    const Link rest = TakeLowest(right, lowest);
    At(lowest).left = left;
    At(lowest).right = rest;
    return Balance(lowest);
}

void CRegPrefixTree::Insert(const Item& item) {
    Link added = free_;
    if (added == cNone) {
        added = static_cast<Link>(links_.size());
        links_.emplace_back();
    } else {
        free_ = At(added).left;
    }
    At(added) = Entry{.item = item, .earliest = added};
    root_ = InsertBelow(root_, added);
}

void CRegPrefixTree::Remove(const Item& item) {
    root_ = RemoveBelow(root_, item);
}

CRegNode* CRegPrefixTree::FindFirst(std::string_view prefix) const {
    Link top = root_;
    while (top != cNone) {
        const int order = compareStart(At(top).item.name, prefix);
        if (order == 0) {
            break;
        }
        top = order < 0 ? At(top).right : At(top).left;
    }
    if (top == cNone) {
        return nullptr;
    }
    // Every match lies below `top`. On the way down its left side, whatever stands between a match
    // and `top` matches too; likewise on its right side.
    Link best = top;
    for (Link link = At(top).left; link != cNone;) {
        const Entry& entry = At(link);
        const bool match = compareStart(entry.item.name, prefix) == 0;
        if (match) {
            best = Earlier(best, Earlier(link, EarliestOf(entry.right)));
        }
        link = match ? entry.left : entry.right;
    }
    for (Link link = At(top).right; link != cNone;) {
        const Entry& entry = At(link);
        const bool match = compareStart(entry.item.name, prefix) == 0;
        if (match) {
            best = Earlier(best, Earlier(link, EarliestOf(entry.left)));
        }
        link = match ? entry.right : entry.left;
    }
    return At(best).item.node;
}

}  // namespace Tova
