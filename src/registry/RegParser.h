// Reads the two text formats of the registry into a tree. Callers use it through CRegDir; a report
// tells where a text is at fault. One thread at a time may use a parser.
#pragma once

#include "registry/CRegDir.h"

#include <vector>

namespace Tova {

enum class RegFormat { Current, Sectioned };

// A place in the text. Line and column count from 1; the column counts bytes. With line-end
// translation LF, CR LF and CR each end a line.
struct RegPosition {
    long line = 1;
    long column = 1;
};

// The findings of ReadFromStream.
struct RegReadReport {
    RegFormat format = RegFormat::Sectioned;
    // Says what breaks the rules, or is null. The text is static and not owned.
    const char* problem = nullptr;
    RegPosition position;
};

// One reading of one stream, which must outlive the parser.
class RegParser {
public:
    // The token codes besides the four characters that stand for themselves.
    static constexpr int cEndToken = 0;
    static constexpr int cNameToken = 256;
    // A file in the current format begins with exactly this text.
    static constexpr char cNWRegKey[] = "!NWREG 1.0 {";

    RegParser(CStream& stream, RegReadReport& report) : stream_(stream), report_(report) {}

    // Chooses the format and reads. This and the following operations throw an RStatus.
    void Read(CRegDir& into);
    void Parse(CRegDir& into);
    void ParseOldFormat(CRegDir& into);
    int GetNextToken(CString& text);
    bool ScanValue(CString& text);

private:
    // The current section of the sectioned format. It has no node if the directory could not be
    // made.
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
