#include "registry/RegParser.h"

#include "streams/CStream.h"
#include "text/CatchAll.h"
#include "text/Ch.h"
#include "text/Str.h"

#include <cstring>

namespace Tova {

namespace {

// Deliberate: one fewer than a name may have elsewhere. Every reader of the files has this limit.
constexpr int cMaxNameInText = 63;

constexpr char cBadCharacter[] = "this character cannot stand here";
constexpr char cLongName[] = "a name has at most 63 characters";
constexpr char cNoName[] = "a name is expected before this";
constexpr char cNothingNamed[] = "\"=\" or \"{\" is expected after a name";
constexpr char cNotStored[] = "this name is taken by an entry of the other kind, or is not valid";

// Makes a valid name of the characters from `begin` to `end`.
CString nameOf(const char* begin, const char* end) {
    CString name;
    name.Append(begin, static_cast<int>(end - begin));
    Str::TrimWhite(name.Lock(0));
    name.Unlock();
    CRegDir::FixName(name);
    return name;
}

}  // namespace

bool RegParser::ReadChar(signed char& c) {
    int eof = 0;
    c = static_cast<signed char>(stream_.ReadChar(eof));
    if (eof != 0) {
        return false;
    }
    last_ = next_;
    next_ = c == '\n' ? RegPosition{next_.line + 1, 1} : RegPosition{next_.line, next_.column + 1};
    return true;
}

void RegParser::PushBack(signed char c) {
    stream_.SetPushedBack(c);
    // A stream keeps no character of 0 or less, so a NUL or 0xFF that ends a name is lost.
    if (c > 0) {
        next_ = last_;
    }
}

bool RegParser::ReadLine(CString& text) {
    int count = 0;
    const bool ended = stream_.ReadToDelim(text, '\n', -1, &count);
    next_ = ended ? RegPosition{next_.line + 1, 1} : RegPosition{next_.line, next_.column + count};
    return ended;
}

void RegParser::Throw(RStatus status, const char* problem, RegPosition where) {
    report_.problem = problem;
    report_.position = where;
    throw status;
}

void RegParser::ReadName(signed char first, CString& text) {
    text.Append(static_cast<char>(first), 1);
    signed char c = 0;
    while (ReadChar(c)) {
        if (!CRegDir::ValidNameChar(c)) {
            PushBack(c);
            return;
        }
        if (text.Length() == cMaxNameInText) {
            Throw(ErrSyntax, cLongName, last_);
        }
        text.Append(static_cast<char>(c), 1);
    }
}

int RegParser::GetNextToken(CString& text) {
    text.Clear();
    signed char c = 0;
    do {
        if (!ReadChar(c)) {
            token_ = next_;
            return cEndToken;
        }
    } while (c == '\t' || c == '\n' || c == ' ');
    token_ = last_;
    if (c == ';' || c == '=' || c == '{' || c == '}') {
        return c;
    }
    if (c == -1) {
        return cEndToken;
    }
    if (!Ch::IsAlpha(static_cast<char>(c))) {
        Throw(ErrSyntax, cBadCharacter, token_);
    }
    ReadName(c, text);
    return cNameToken;
}

bool RegParser::ScanValue(CString& text) {
    ReadLine(text);
    return true;
}

void RegParser::Read(CRegDir& into) {
    CString line;
    ReadLine(line);
    if (std::strncmp(line.CStr(), cNWRegKey, sizeof cNWRegKey - 1) == 0) {
        report_.format = RegFormat::Current;
        Parse(into);
        return;
    }
    report_.format = RegFormat::Sectioned;
    // If that fails, reading goes on behind the first line, because a pipe cannot be read again.
    stream_.SetPos(0);
    next_ = {};
    ParseOldFormat(into);
}

void RegParser::Parse(CRegDir& into) {
    std::vector<CRegDir> open{into};
    CString text;
    while (!open.empty()) {
        switch (GetNextToken(text)) {
        case cEndToken:
        case '}':
            open.pop_back();
            break;
        case ';':
            ScanValue(text);
            open.back().AddComment(text.CStr());
            break;
        case cNameToken:
            ParseEntry(text, open);
            break;
        default:
            Throw(ErrSyntax, cNoName, token_);
        }
    }
}

void RegParser::ParseEntry(const CString& name, std::vector<CRegDir>& open) {
    const RegPosition where = token_;
    CString text;
    switch (GetNextToken(text)) {
    case '=':
        ScanValue(text);
        if (!open.back().SetValue(name.CStr(), text.CStr())) {
            Throw(Failure, cNotStored, where);
        }
        break;
    case '{': {
        CRegDir directory;
        if (!open.back().CreateDir(name.CStr(), directory)) {
            Throw(Failure, cNotStored, where);
        }
        open.push_back(directory);
        break;
    }
    default:
        Throw(ErrSyntax, cNothingNamed, token_);
    }
}

// The loop also ends after a read that met the end, because a stream that cannot be read never sets
// the end-of-file indicator.
void RegParser::ParseOldFormat(CRegDir& into) {
    Section section;
    CString line;
    for (bool more = true; !stream_.AtEOF() && more;) {
        more = ReadLine(line);
        ParseOldLine(line.CStr(), into, section);
    }
}

void RegParser::ParseOldLine(const char* line, CRegDir& into, Section& section) {
    line = Str::SkipWhite(line);
    if (*line == ';') {
        (section.begun ? section.directory : into).AddComment(line + 1);
    } else if (*line == '[') {
        line = Str::SkipWhite(line + 1);
        if (const char* end = std::strchr(line, ']'); end != nullptr) {
            // The lines under a section that cannot be made are dropped; they belong nowhere else.
            section.begun = true;
            section.directory.ReleaseNode();
            into.CreateDir(nameOf(line, end).CStr(), section.directory);
        }
    } else if (const char* equals = std::strchr(line, '='); equals != nullptr) {
        // Fails before the first section, and if the name is a directory's. The line is then
        // dropped.
        section.directory.SetValue(nameOf(line, equals).CStr(), equals + 1);
    }
}

RStatus CRegDir::ReadFromStream(CStream& stream) {
    RegReadReport report;
    return ReadFromStream(stream, report);
}

RStatus CRegDir::ReadFromStream(CStream& stream, RegReadReport& report) {
    report = {};
    RStatus status = Ok;
    const bool complete = CatchAll([&] {
        try {
            RegParser(stream, report).Read(*this);
        } catch (const RStatus& thrown) {
            status = thrown;
        }
    });
    return complete ? status : Failure;
}

void CRegDir::Parse(CStream& stream) {
    RegReadReport report;
    RegParser(stream, report).Parse(*this);
}

void CRegDir::ParseOldFormat(CStream& stream) {
    RegReadReport report;
    RegParser(stream, report).ParseOldFormat(*this);
}

int CRegDir::GetNextToken(CStream& stream, CString& text) {
    RegReadReport report;
    return RegParser(stream, report).GetNextToken(text);
}

bool CRegDir::ScanValue(CStream& stream, CString& text) {
    RegReadReport report;
    return RegParser(stream, report).ScanValue(text);
}

}  // namespace Tova
