// Reads the input as a registry file in either format and checks the rules that hold for every
// tree. Prints the tree in the current format and reads it back.
#include "fuzz/FuzzTarget.h"
#include "registry/CRegistry.h"
#include "streams/CMemoryStream.h"

#include <string>

namespace {

using tvfuzz::Require;

// This walk and the next recurse, so they leave deep trees to the tests.
constexpr int cDeepest = 500;

// Describes the entries below `directory`, comments left out, and checks each one.
void describe(const Tova::CRegNode& directory, int depth, std::string& out) {
    int entries = 0;
    for (const Tova::CRegNode* node = directory.FirstChild(); node; node = node->NextSibling()) {
        if (node->GetType() == Tova::RegNodeType::Comment) {
            Require(node->GetName() == nullptr && node->GetValue() != nullptr,
                    "comments have a text alone");
            continue;
        }
        const std::string name = node->GetName();
        Require(Tova::CRegDir::ValidName(name.c_str()), "names are valid");
        Require(directory.Find(name.c_str(), 0) == node, "names differ, and are found");
        Require(directory.Index(entries++) == node, "entries are numbered in order");
        const Tova::CRegNode* prefix = directory.Find(name.c_str(), 1);
        Require(prefix != nullptr && prefix->GetName()[0] == name[0], "prefixes are found");
        out += name + (node->IsDirectory() ? "{" : "=" + std::string(node->GetValue()) + "\n");
        if (node->IsDirectory() && depth < cDeepest) {
            describe(*node, depth + 1, out);
        }
        out += node->IsDirectory() ? "}" : "";
    }
    Require(directory.Index(entries) == nullptr, "and no more of them");
}

// Prints what is below `directory`. Returns false if it has a name that the text cannot hold: one
// of 64 characters, or one with a "/", which a text takes for a path.
bool print(const Tova::CRegNode& directory, int depth, std::string& out) {
    for (const Tova::CRegNode* node = directory.FirstChild(); node; node = node->NextSibling()) {
        if (node->GetType() == Tova::RegNodeType::Comment) {
            out += ";" + std::string(node->GetValue()) + "\n";
            continue;
        }
        const std::string name = node->GetName();
        if (name.size() > 63 || name.find('/') != name.npos) {
            return false;
        }
        out += name + (node->IsDirectory() ? "{" : "=" + std::string(node->GetValue())) + "\n";
        if (node->IsDirectory()) {
            if (depth < cDeepest && !print(*node, depth + 1, out)) {
                return false;
            }
            out += "}\n";
        }
    }
    return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(data, data + size);
    for (const unsigned flags : {Tova::CStream::cTranslate, 0U}) {
        Tova::CMemoryStream stream(flags, text);
        stream.ReadUnicodeHeader();
        Tova::CMemRegistry tree, copy;
        const Tova::RStatus status = tree.ReadFromStream(stream);
        Require(status == Tova::Ok || status == Tova::ErrSyntax || status == Tova::Failure,
                "status");
        std::string entries, copied;
        describe(*tree.GetNode(), 0, entries);
        Require(copy.CopyDir(tree), "a tree that was read can be copied");
        describe(*copy.GetNode(), 0, copied);
        Require(entries == copied, "the copy is equal");

        std::string printed = "!NWREG 1.0 {\n", again = printed;
        if (print(*tree.GetNode(), 0, printed)) {
            Tova::CMemoryStream file(0, printed);
            Tova::CMemRegistry back;
            Require(back.ReadFromStream(file) == Tova::Ok, "what was printed can be read");
            print(*back.GetNode(), 0, again);
            Require(again == printed, "and is the same, comments too");
        }
    }
    return 0;
}
