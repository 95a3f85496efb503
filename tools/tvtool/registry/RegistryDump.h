// Prints a registry tree as text for people and as JSON. Both keep the order of the file and its
// comments, and take time in proportion to the tree, however deep it is.
#pragma once

#include "registry/CRegDir.h"
#include "tvtool/base/Tool.h"

namespace tvtool {

// Prints the entries of a directory, or a value alone.
void PrintTree(Output& out, const Tova::CRegNode& top);
// Prints an array of the entries of a directory, or of one value.
void PrintTreeJson(Output& out, const Tova::CRegNode& top);

struct TreeCounts {
    long directories = 0;
    long values = 0;
    long comments = 0;
    bool operator==(const TreeCounts&) const = default;
};
// Counts everything below a directory.
TreeCounts CountTree(const Tova::CRegNode& top);

}  // namespace tvtool
