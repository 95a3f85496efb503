// How deeply an XML property list is nested, found without recursion and before anything is built.
#pragma once

#include <cstddef>
#include <string_view>

namespace tvplatform {

// May see more levels than there are in a document with attributes, never fewer.
bool IsPlistDeeperThan(std::string_view xml, size_t levels);

}  // namespace tvplatform
