// What the tests of the registry share: a stream on a text, and trees as one line of text.
#pragma once

#include "registry/CRegDir.h"
#include "registry/CRegistry.h"
#include "tests/streams/MemoryStream.h"

#include <string>
#include <string_view>

namespace tvtest {

// A text as a file stream reads it.
class TextStream : public MemoryStream {
public:
    explicit TextStream(std::string_view text, unsigned flags = cTranslate)
        : MemoryStream(flags, std::string(text)) {
        ReadUnicodeHeader();
    }
};

inline void AppendDump(const Tova::CRegNode& directory, std::string& out) {
    for (const Tova::CRegNode* node = directory.FirstChild(); node; node = node->NextSibling()) {
        const std::string value =
            node->GetValue() ? "'" + std::string(node->GetValue()) + "'" : "null";
        out += out.empty() || out.back() == '{' ? "" : " ";
        if (node->IsDirectory()) {
            out += std::string(node->GetName()) + "{";
            AppendDump(*node, out);
            out += "}";
        } else {
            out += node->GetName() ? std::string(node->GetName()) + "=" + value : ";" + value;
        }
    }
}

// The tree below a handle on one line: name='value' name{...} ;'comment', in order.
inline std::string Dump(const Tova::CRegDir& directory) {
    std::string out;
    if (!directory.IsEmpty()) {
        AppendDump(*directory.GetNode(), out);
    }
    return out;
}

}  // namespace tvtest
