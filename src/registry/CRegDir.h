// A counted handle on a directory of a registry tree. Callers use a tree through handles. One
// thread at a time may use a tree and the handles on it.
#pragma once

#include "registry/CRegNode.h"
#include "text/CString.h"
#include "text/RStatus.h"

namespace Tova {

class CStream;
struct RegReadReport;

// Paths are relative to the handle's directory, with "/" between the names. Operations that find
// match inner segments by prefix (see CRegNode::Find); those that create match them exactly. A
// handle on no node, and a null path, give false, null or ErrNotFound. The count of handles keeps
// no node alive: a tree and Delete free nodes, and handles must have let go before.
class CRegDir {
public:
    CRegDir() = default;
    CRegDir(const CRegDir& other) { SetNode(other.node_); }
    virtual ~CRegDir() { ReleaseNode(); }
    // Deliberate: assigning a handle on no node changes nothing. Callers rely on it.
    CRegDir& operator=(const CRegDir& other);

    // Lets go of the present node and takes `node`, which may be null. Returns the former node.
    CRegNode* SetNode(CRegNode* node);
    // Lets go of the node and returns it, or null if there is none.
    CRegNode* ReleaseNode() { return SetNode(nullptr); }
    const CRegNode* GetNode() const { return node_; }
    bool IsEmpty() const { return node_ == nullptr; }

    const char* GetName() const { return node_ == nullptr ? nullptr : node_->GetName(); }
    // Returns S_RegIsDirectory, S_RegIsValue or ErrNotFound.
    RStatus GetNodeType(const char* path) const;

    // `out` takes the directory; on failure it stays unchanged. It may be this handle, but no
    // registry object (see CMemRegistry).
    bool OpenDir(const char* path, CRegDir& out) const;
    // Opens or makes a child directory by its exact name; "/" is a character like others. Returns
    // false if the name is a value's or is not valid.
    bool CreateSubDir(const char* name, CRegDir& out);
    // Opens or makes the directory of every segment but the last. On success `path` points at the
    // last segment and `out` at the directory for it. On failure `path` points at the segment that
    // failed, `out` is unchanged, and the directories before the segment stay. A segment of more
    // than 79 characters fails.
    bool CreateParentDirs(const char*& path, CRegDir& out);
    bool CreateDir(const char* path, CRegDir& out);

    // Makes or changes a value, and makes the directories on the way. Returns false if the name is
    // a directory's or is not valid. A null text is stored as no text.
    bool SetValue(const char* path, const char* value);
    // Stores the text that the signed form of Str::ToString writes.
    // Deliberate: only the low 32 bits count, and a negative number becomes a text of 20 digits.
    // Other readers know these texts.
    bool SetValue(const char* path, long value);
    bool SetValue(const char* path, unsigned long value);

    // Returns the text of a value, valid until it is changed. Returns null for a directory.
    const char* GetValue(const char* path) const;
    // These return false and leave `out` unchanged unless there is a value with a text.
    bool GetValue(const char* path, CString& out) const;
    // These read the number at the start of the text and cut it to 32 bits. A text without a number
    // is 0.
    bool GetValue(const char* path, int& out) const;
    bool GetValue(const char* path, unsigned& out) const;

    // Stores the name of the i-th entry from 0, comments not counted. Returns false past the end.
    bool EnumEntry(int i, CString& out) const;

    void AddComment(const char* text);
    // Copies the entries of `source` into this directory, in order and without comments. Stops and
    // returns false at the first value that has no text, at a directory whose name a value has
    // here, and at a name with "/" that its own directory does not find. Entries copied before it
    // stay. Copies nothing and returns false if this directory is below `source`.
    bool CopyDir(const CRegDir& source);
    // Frees the node that the path finds, and everything below. Inner segments match by prefix.
    // Handles on the node must have let go. Returns false if nothing is found.
    bool Delete(const char* path);

    // Returns true for a letter with up to 63 characters behind it that pass ValidNameChar.
    static bool ValidName(const char* name);
    // Takes a byte as a signed number. Returns false for -1 (0xFF), NUL, tab, line feed, blank and
    // ;=\{}.
    static bool ValidNameChar(int c);
    // Makes `name` valid in place. Cuts it to 64 characters, puts "X" for a first character that is
    // no letter, and "_" for each character that is not valid. "" becomes "X", which needs two
    // bytes.
    static char* FixName(char* name);
    static void FixName(CString& name);

    // Adds a registry text to this directory. The first line tells the format. Returns ErrSyntax or
    // Failure if the text breaks the rules of the current format, or the status that the stream
    // throws. Entries read before that stay. Throws nothing. The stream should be open for reading
    // text.
    RStatus ReadFromStream(CStream& stream);
    // Does the same and fills `report`.
    RStatus ReadFromStream(CStream& stream, RegReadReport& report);
    // Reads the current format from behind its header line to the "}" that closes it, or to the
    // end. Throws an RStatus.
    void Parse(CStream& stream);
    // Reads the sectioned format to the end. Throws only what the stream throws.
    void ParseOldFormat(CStream& stream);
    // Returns the next token of the current format: the character if it is one of ; = { }, 256 if
    // it is a name, which goes into `text`, and 0 at the end. Throws ErrSyntax.
    static int GetNextToken(CStream& stream, CString& text);
    // Stores the rest of the line, verbatim. Always returns true.
    static bool ScanValue(CStream& stream, CString& text);

protected:
    CRegNode* Node() { return node_; }

    // A registry's Read saves, clears and restores it. Nothing else reads it.
    bool flag_ = false;

private:
    // Lets `out` take the node. Returns false if it is null.
    static bool Take(CRegNode* node, CRegDir& out);
    CRegNode* DeepFind(const char* path) const {
        return node_ == nullptr ? nullptr : node_->DeepFind(path);
    }

    CRegNode* node_ = nullptr;
};

}  // namespace Tova
