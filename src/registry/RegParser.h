// Reads the two text formats of the registry into a tree. Callers use it through CRegDir; a report
// tells where a text is at fault. One thread at a time may use a parser.
#pragma once

#include "registry/RegText.h"
#include "text/RStatus.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Tova {

class CRegNode;

enum class RegFormat { Current, Sectioned };

// The findings of ReadFromStream.
struct RegReadReport {
    RegFormat format = RegFormat::Sectioned;
    // Says what breaks the rules, or is null. The text is static and not owned.
    const char* problem = nullptr;
    RegPosition position;
    // There was not enough memory for all of the text.
    bool lacksMemory = false;
};

// One reading of one stream, which must outlive the parser.
class RegParser {
public:
    // The token codes besides the four characters that stand for themselves.
    static constexpr int cEndToken = 0;
    static constexpr int cNameToken = 256;
    // A file in the current format begins with exactly this text.
    static constexpr char cNWRegKey[] = "!NWREG 1.0 {";

    RegParser(CStream& stream, RegReadReport& report) : text_(stream), report_(report) {}

    // Chooses the format and reads below `into`, which may be null. This and the following
    // operations throw an RStatus.
    void Read(CRegNode* into);
    void Parse(CRegNode* into);
    void ParseOldFormat(CRegNode* into);
    int GetNextToken();
    // Returns the name that the last token was. It is valid until the next token is read.
    std::string_view TokenName() const { return {name_, nameSize_}; }

private:
    // Deliberate: one fewer than a name may have elsewhere. Every reader of the files has this
    // limit.
    static constexpr std::size_t cMaxNameInText = 63;

    // The current section of the sectioned format. The directory is null if it could not be made.
    struct Section {
        bool begun = false;
        CRegNode* directory = nullptr;
    };

    void ReadName(signed char first);
    std::string_view ReadValue();
    void ParseEntry(std::vector<CRegNode*>& open);
    static void ParseOldLine(std::string_view line, CRegNode* into, Section& section);
    [[noreturn]] void Throw(RStatus status, const char* problem, const RegPosition& where);

    RegText text_;
    RegReadReport& report_;
    RegPosition token_;  // of the first character of the token read last
    char name_[cMaxNameInText] = {};
    std::size_t nameSize_ = 0;
};

}  // namespace Tova
