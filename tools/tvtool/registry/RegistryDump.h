// A registry tree as text for people and as JSON. Both follow the order of the file, comments
// included, and take time in proportion to the tree, however deep it is.
#pragma once

#include "registry/CRegDir.h"
#include "tvtool/base/Tool.h"

namespace tvtool {

// The entries of a directory, or a value alone.
void PrintTree(Output& out, const Tova::CRegNode& top);
// The array of the entries of a directory, or of one value.
void PrintTreeJson(Output& out, const Tova::CRegNode& top);

struct TreeCounts {
    long directories = 0;
    long values = 0;
    long comments = 0;
};
// What is below a directory.
TreeCounts CountTree(const Tova::CRegNode& top);

}  // namespace tvtool
