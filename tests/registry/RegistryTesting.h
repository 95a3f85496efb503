// A registry tree as one line of text, for the tests of the registry.
#pragma once

#include "registry/CRegDir.h"
#include "registry/CRegistry.h"

#include <string>

namespace tvtest {

inline std::string Dump(const Tova::CRegNode* node) {
    std::string out;
    for (; node != nullptr; node = node->NextSibling()) {
        const std::string name = node->GetName() != nullptr ? node->GetName() : ";";
        const std::string value = node->GetValue() != nullptr ? node->GetValue() : "(null)";
        out += out.empty() ? "" : " ";
        out += node->IsDirectory() ? name + "{" + Dump(node->FirstChild()) + "}"
                                   : name + (name == ";" ? "'" : "='") + value + "'";
    }
    return out;
}

// The tree below a handle on one line: name='value' name{...} ;'comment', in order.
inline std::string Dump(const Tova::CRegDir& directory) {
    return directory.IsEmpty() ? "" : Dump(directory.GetNode()->FirstChild());
}

}  // namespace tvtest
