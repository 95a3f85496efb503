#include "registry/RegParser.h"

#include "registry/CRegDir.h"
#include "registry/RegNames.h"
#include "streams/CStream.h"
#include "text/CatchAll.h"
#include "text/Ch.h"

#include <algorithm>

namespace Tova {

namespace {

constexpr char cBadCharacter[] = "this character cannot stand here";
constexpr char cLongName[] = "a name has at most 63 characters";
constexpr char cNoName[] = "a name is expected before this";
constexpr char cNothingNamed[] = "\"=\" or \"{\" is expected after a name";
constexpr char cNotStored[] = "this name is taken by an entry of the other kind, or is not valid";

// A line and a value end at a NUL, as texts in memory do.
std::string_view untilNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

std::string_view skipWhite(std::string_view text) {
    while (!text.empty() && Ch::IsWhite(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

// A valid name that is made of any text.
class FixedName {
public:
    explicit FixedName(std::string_view text) {
        while (!text.empty() && Ch::IsWhite(text.back())) {
            text.remove_suffix(1);
        }
        size_ = std::max<std::size_t>(text.copy(name_, sizeof name_), 1);
        RegNames::Fix(name_, size_);
    }
    std::string_view Get() const { return {name_, size_}; }

private:
    char name_[RegNames::cMostCharacters] = {};
    std::size_t size_;
};

bool setValue(CRegNode* directory, std::string_view path, std::string_view value) {
    return directory != nullptr && directory->SetValueAt(path, value);
}

CRegNode* makeDirectory(CRegNode* parent, std::string_view path) {
    return parent == nullptr ? nullptr : parent->OpenOrMakePath(path);
}

void addComment(CRegNode* directory, std::string_view text) {
    if (directory != nullptr) {
        directory->AddComment(text);
    }
}

}  // namespace

void RegParser::Throw(RStatus status, const char* problem, const RegPosition& where) {
    report_.problem = problem;
    report_.position = where;
    throw status;
}

void RegParser::ReadName(signed char first) {
    name_[0] = static_cast<char>(first);
    nameSize_ = 1;
    while (true) {
        bool ended = false;
        nameSize_ += text_.ReadNameRun(name_ + nameSize_, cMaxNameInText - nameSize_, ended);
        signed char c = 0;
        if (ended || !text_.ReadChar(c)) {
            return;
        }
        if (!RegNames::IsNameByte(static_cast<char>(c))) {
            text_.PushBack(c);
            return;
        }
        if (nameSize_ == cMaxNameInText) {
            Throw(ErrSyntax, cLongName, text_.Last());
        }
        name_[nameSize_++] = static_cast<char>(c);
    }
}

int RegParser::GetNextToken() {
    nameSize_ = 0;
    signed char c = 0;
    do {
        text_.SkipBlanks();
        if (!text_.ReadChar(c)) {
            token_ = text_.Next();
            return cEndToken;
        }
    } while (c == '\t' || c == '\n' || c == ' ');
    token_ = text_.Last();
    if (c == ';' || c == '=' || c == '{' || c == '}') {
        return c;
    }
    if (c == -1) {
        return cEndToken;
    }
    if (!Ch::IsAlpha(static_cast<char>(c))) {
        Throw(ErrSyntax, cBadCharacter, token_);
    }
    ReadName(c);
    return cNameToken;
}

// Returns the rest of the line, valid until something is read.
std::string_view RegParser::ReadValue() {
    std::string_view line;
    text_.ReadLine(line);
    return untilNul(line);
}

void RegParser::Read(CRegNode* into) {
    text_.UseBlocks();
    if (ReadValue().starts_with(cNWRegKey)) {
        report_.format = RegFormat::Current;
        Parse(into);
        return;
    }
    report_.format = RegFormat::Sectioned;
    // If that fails, reading goes on behind the first line, because a pipe cannot be read again.
    text_.Restart();
    ParseOldFormat(into);
}

void RegParser::Parse(CRegNode* into) {
    text_.UseBlocks();
    std::vector<CRegNode*> open{into};
    while (!open.empty()) {
        std::string_view name;
        std::string_view value;
        while (text_.ReadValueLine(cMaxNameInText, name, value)) {
            if (!setValue(open.back(), name, untilNul(value))) {
                Throw(Failure, cNotStored, text_.Last());
            }
        }
        switch (GetNextToken()) {
        case cEndToken:
        case '}':
            open.pop_back();
            break;
        case ';':
            addComment(open.back(), ReadValue());
            break;
        case cNameToken:
            ParseEntry(open);
            break;
        default:
            Throw(ErrSyntax, cNoName, token_);
        }
    }
}

void RegParser::ParseEntry(std::vector<CRegNode*>& open) {
    const RegPosition where = token_;
    char name[cMaxNameInText];
    const std::string_view path(name, TokenName().copy(name, sizeof name));
    switch (GetNextToken()) {
    case '=':
        if (!setValue(open.back(), path, ReadValue())) {
            Throw(Failure, cNotStored, where);
        }
        break;
    case '{': {
        CRegNode* directory = makeDirectory(open.back(), path);
        if (directory == nullptr) {
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
void RegParser::ParseOldFormat(CRegNode* into) {
    text_.UseBlocks();
    Section section;
    for (bool more = true; !text_.AtEOF() && more;) {
        std::string_view line;
        more = text_.ReadLine(line);
        ParseOldLine(skipWhite(untilNul(line)), into, section);
    }
}

void RegParser::ParseOldLine(std::string_view line, CRegNode* into, Section& section) {
    if (line.starts_with(';')) {
        addComment(section.begun ? section.directory : into, line.substr(1));
    } else if (line.starts_with('[')) {
        line = skipWhite(line.substr(1));
        if (const std::size_t end = line.find(']'); end != line.npos) {
            // The lines under a section that cannot be made are dropped; they belong nowhere else.
            const FixedName name(line.substr(0, end));
            section = {.begun = true, .directory = makeDirectory(into, name.Get())};
        }
    } else if (const std::size_t equals = line.find('='); equals != line.npos) {
        // Fails before the first section, and if the name is a directory's. The line is then
        // dropped.
        const FixedName name(line.substr(0, equals));
        setValue(section.directory, name.Get(), line.substr(equals + 1));
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
            RegParser(stream, report).Read(node_);
        } catch (const RStatus& thrown) {
            status = thrown;
        } catch (const std::bad_alloc&) {
            report.lacksMemory = true;
            throw;
        }
    });
    return complete ? status : Failure;
}

void CRegDir::Parse(CStream& stream) {
    RegReadReport report;
    RegParser(stream, report).Parse(node_);
}

void CRegDir::ParseOldFormat(CStream& stream) {
    RegReadReport report;
    RegParser(stream, report).ParseOldFormat(node_);
}

int CRegDir::GetNextToken(CStream& stream, CString& text) {
    RegReadReport report;
    RegParser parser(stream, report);
    text.Clear();
    const int token = parser.GetNextToken();
    for (const char c : parser.TokenName()) {
        text.Append(c, 1);
    }
    return token;
}

bool CRegDir::ScanValue(CStream& stream, CString& text) {
    stream.ReadToDelim(text, '\n', -1, nullptr);
    return true;
}

}  // namespace Tova
