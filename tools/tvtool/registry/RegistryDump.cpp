#include "tvtool/registry/RegistryDump.h"

#include "tvtool/base/Escapes.h"
#include "tvtool/base/Json.h"

#include <algorithm>
#include <string>

namespace tvtool {

namespace {

using Tova::CRegNode;
using Tova::RegNodeType;

// Deeper levels are not indented further, because the output of a deep tree would grow with the
// square of its depth.
constexpr int cMaxIndent = 20;

constexpr char cBold[] = "\x1b[1m";
constexpr char cFaint[] = "\x1b[2m";
constexpr char cPlain[] = "\x1b[0m";

std::string indent(int depth) {
    return std::string(static_cast<std::size_t>(std::min(depth, cMaxIndent)) * 2, ' ');
}

// Calls enter(node, depth) for every node below `top`, and leave(node, depth) after the last entry
// of each directory.
template <class Enter, class Leave>
void walk(const CRegNode& top, Enter enter, Leave leave) {
    int depth = 0;
    for (const CRegNode* node = top.FirstChild(); node != nullptr;) {
        enter(*node, depth);
        if (node->FirstChild() != nullptr) {
            node = node->FirstChild();
            ++depth;
            continue;
        }
        if (node->IsDirectory()) {
            leave(*node, depth);
        }
        while (node->NextSibling() == nullptr) {
            node = node->Parent();
            if (node == &top) {
                return;
            }
            leave(*node, --depth);
        }
        node = node->NextSibling();
    }
}

class TextPrinter {
public:
    explicit TextPrinter(Output& out) : out_(out), coloured_(out.IsColoured()) {}

    void Enter(const CRegNode& node, int depth) {
        out_ << indent(depth);
        if (node.GetType() == RegNodeType::Comment) {
            Styled(cFaint, ";" + TextOf(node.GetValue()));
        } else if (node.IsDirectory()) {
            Styled(cBold, TextOf(node.GetName()));
            out_ << " {";
        } else {
            out_ << TextOf(node.GetName()) << "=" << TextOf(node.GetValue());
        }
        out_ << "\n";
    }
    void Leave(int depth) { out_ << indent(depth) << "}\n"; }

private:
    static std::string TextOf(const char* text) {
        return EscapeSystem(text == nullptr ? "" : text);
    }
    void Styled(const char* style, const std::string& text) {
        out_ << (coloured_ ? style : "") << text << (coloured_ ? cPlain : "");
    }

    Output& out_;
    bool coloured_;
};

// Writes piece by piece, because a document of JSON objects as deep as the tree is freed by
// recursion.
class JsonPrinter {
public:
    explicit JsonPrinter(Output& out) : out_(out) {}

    void Enter(const CRegNode& node, int depth, bool first) {
        out_ << (first ? "\n" : ",\n") << indent(depth + 2);
        if (node.GetType() == RegNodeType::Comment) {
            out_ << "{\"comment\": " << TextOf(node.GetValue()) << "}";
            return;
        }
        out_ << "{\"name\": " << TextOf(node.GetName());
        if (node.IsDirectory()) {
            out_ << ", \"entries\": [";
        } else {
            out_ << ", \"value\": " << TextOf(node.GetValue()) << "}";
        }
    }
    void Leave(const CRegNode& node, int depth) {
        if (node.FirstChild() != nullptr) {
            out_ << "\n" << indent(depth + 2);
        }
        out_ << "]}";
    }

private:
    static std::string TextOf(const char* text) {
        return JsonText(text == nullptr ? "" : text).dump();
    }

    Output& out_;
};

}  // namespace

void PrintTree(Output& out, const CRegNode& top) {
    TextPrinter printer(out);
    if (!top.IsDirectory()) {
        printer.Enter(top, 0);
        return;
    }
    walk(
        top, [&](const CRegNode& node, int depth) { printer.Enter(node, depth); },
        [&](const CRegNode&, int depth) { printer.Leave(depth); });
}

void PrintTreeJson(Output& out, const CRegNode& top) {
    JsonPrinter printer(out);
    out << "[";
    if (!top.IsDirectory()) {
        printer.Enter(top, 0, true);
    } else {
        walk(
            top,
            [&](const CRegNode& node, int depth) {
                printer.Enter(node, depth, node.Parent()->FirstChild() == &node);
            },
            [&](const CRegNode& node, int depth) { printer.Leave(node, depth); });
    }
    out << (!top.IsDirectory() || top.FirstChild() != nullptr ? "\n  ]" : "]");
}

TreeCounts CountTree(const CRegNode& top) {
    TreeCounts counts;
    walk(
        top,
        [&](const CRegNode& node, int) {
            ++(node.IsDirectory()                       ? counts.directories
               : node.GetType() == RegNodeType::Comment ? counts.comments
                                                        : counts.values);
        },
        [](const CRegNode&, int) {});
    return counts;
}

}  // namespace tvtool
