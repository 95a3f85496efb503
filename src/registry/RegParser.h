// Reads the two text formats of the registry into a tree. CRegDir offers it; whoever wants to know
// where a text is at fault uses the report.
#pragma once

#include "registry/CRegDir.h"

#include <vector>

namespace Tova {

enum class RegFormat { Current, Sectioned };

// A place in the text; both count from 1. The column counts bytes. A line ends where the stream
// says so: with line-end translation at LF, CR LF and CR.
struct RegPosition {
    long line = 1;
    long column = 1;
};

// What ReadFromStream found.
struct RegReadReport {
    RegFormat format = RegFormat::Sectioned;
    // What breaks the rules and where; null if nothing does. Static text, not owned.
    const char* problem = nullptr;
    RegPosition position;
};

// One reading of one stream, which must outlive the parser.
class RegParser {
public:
    // The token codes besides the four characters that stand for themselves.
    static constexpr int cEndToken = 0;
    static constexpr int cNameToken = 256;
    // A file in the current format begins with exactly this.
    static constexpr char cNWRegKey[] = "!NWREG 1.0 {";

    RegParser(CStream& stream, RegReadReport& report) : stream_(stream), report_(report) {}

    // Chooses the format and reads. These throw an RStatus.
    void Read(CRegDir& into);
    void Parse(CRegDir& into);
    void ParseOldFormat(CRegDir& into);
    int GetNextToken(CString& text);
    bool ScanValue(CString& text);

private:
    // The current section of the sectioned format; without a node once one could not be made.
    struct Section {
        bool begun = false;
        CRegDir directory;
    };

    bool ReadChar(signed char& c);
    void PushBack(signed char c);
    bool ReadLine(CString& text);
    void ReadName(signed char first, CString& text);
    void ParseEntry(const CString& name, std::vector<CRegDir>& open);
    void ParseOldLine(const char* line, CRegDir& into, Section& section);
    [[noreturn]] void Throw(RStatus status, const char* problem, RegPosition where);

    CStream& stream_;
    RegReadReport& report_;
    RegPosition next_;   // of the character that is read next
    RegPosition last_;   // of the character read last
    RegPosition token_;  // of the first character of the token read last
};

}  // namespace Tova
