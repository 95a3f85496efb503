// Shared by the tests of the registry: a stream on a text, and a tree as one line of text.
#pragma once

#include "registry/CRegDir.h"
#include "registry/CRegistry.h"
#include "tests/streams/MemoryStream.h"

#include <string>

namespace tvtest {

// A text as a file stream reads it.
class TextStream : public MemoryStream {
public:
    explicit TextStream(const std::string& text, unsigned flags = cTranslate)
        : MemoryStream(flags, text) {
        ReadUnicodeHeader();
    }
};

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
