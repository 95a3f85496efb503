// A counted handle on a directory of a registry tree; every operation on a tree is made through
// one. One thread at a time may use a tree and the handles on it.
#pragma once

#include "registry/CRegNode.h"
#include "text/CString.h"
#include "text/RStatus.h"

namespace Tova {

class CStream;
struct RegReadReport;

// Paths are relative to the handle's directory, with "/" between the names. Finding matches inner
// segments by prefix (see CRegNode::Find), creating matches them exactly. A handle on no node, and
// a null path, give false, null or ErrNotFound. The count of handles keeps no node alive: nodes go
// with their tree or with Delete, and a handle must let go before that.
class CRegDir {
public:
    CRegDir() = default;
    CRegDir(const CRegDir& other);
    virtual ~CRegDir();
    // A handle on no node leaves this one as it is, on its node: relied on.
    CRegDir& operator=(const CRegDir& other);

    // Lets go of the present node and takes `node` (null: none). The present node comes back.
    CRegNode* SetNode(CRegNode* node);
    // Lets go of the node and returns it; null if there is none.
    CRegNode* ReleaseNode();
    const CRegNode* GetNode() const { return node_; }
    bool IsEmpty() const { return node_ == nullptr; }

    const char* GetName() const;
    // S_RegIsDirectory, S_RegIsValue or ErrNotFound.
    RStatus GetNodeType(const char* path) const;

    // `out` takes the directory; on failure it is left as it is. It may be this handle.
    bool OpenDir(const char* path, CRegDir& out) const;
    // Opens or makes a child directory, by its exact name ("/" is a character like others). False
    // for the name of a value and for a name that is not valid.
    bool CreateSubDir(const char* name, CRegDir& out);
    // Opens or makes the directory of every segment but the last. `path` then points at the last
    // segment and `out` at the directory for it; on failure `path` points at the segment that
    // failed, `out` is unchanged, and the directories before it stay. A segment of more than
    // 79 characters fails.
    bool CreateParentDirs(const char*& path, CRegDir& out);
    bool CreateDir(const char* path, CRegDir& out);

    // Makes or changes a value, and the directories on the way. False where a directory has the
    // name, and for a name that is not valid. A null value text is stored as no text.
    bool SetValue(const char* path, const char* value);
    // As Str::ToString writes it in its signed form: only the low 32 bits count, and a negative
    // number gives a text of 20 digits. Kept: other readers know the texts.
    bool SetValue(const char* path, long value);
    bool SetValue(const char* path, unsigned long value);

    // The text of a value, valid until it is changed; null for a directory.
    const char* GetValue(const char* path) const;
    // These leave `out` as it is unless there is a value with a text.
    bool GetValue(const char* path, CString& out) const;
    // The number at the start of the text, 0 when there is none, cut to 32 bits.
    bool GetValue(const char* path, int& out) const;
    bool GetValue(const char* path, unsigned& out) const;

    // The name of the i-th entry from 0, comments not counted. False past the end.
    bool EnumEntry(int i, CString& out) const;

    void AddComment(const char* text);
    // Copies the entries of `source` in order, comments left out, over what is here. False, with
    // the entries before it copied, at a value without text, at a directory whose name is taken by
    // a value, and at a name that its own directory does not find (one with "/" in it). False at
    // once, with nothing copied, into a directory below `source`.
    bool CopyDir(const CRegDir& source);
    // Frees the node that the path finds, with everything below; inner segments match by prefix
    // here too. Handles on it must have let go.
    bool Delete(const char* path);

    // A letter, then up to 63 characters that pass ValidNameChar.
    static bool ValidName(const char* name);
    // `c` is a byte taken as signed. False for -1 (0xFF), NUL, tab, line feed, blank and ;=\{}.
    static bool ValidNameChar(int c);
    // Makes `name` a valid one in place: cut to 64 characters, "X" for a first character that is no
    // letter, "_" for each that is not valid. Needs room for two bytes: "" becomes "X".
    static char* FixName(char* name);
    static void FixName(CString& name);

    // Merges a registry text into this directory, in the format that its first line tells.
    // ErrSyntax or Failure for a text that breaks the rules of the current format, or what the
    // stream throws; what was read before stays. Nothing is thrown. The stream should be open for
    // reading text.
    RStatus ReadFromStream(CStream& stream);
    // The same, and says what was found.
    RStatus ReadFromStream(CStream& stream, RegReadReport& report);
    // The current format from behind its header line, up to the "}" that closes it or the end.
    // Throws an RStatus.
    void Parse(CStream& stream);
    // The sectioned format, up to the end. Throws only what the stream throws.
    void ParseOldFormat(CStream& stream);
    // The next token of the current format: 0 at the end, the character for one of ; = { }, or
    // 256 for a name, which is put into `text`. Throws ErrSyntax.
    static int GetNextToken(CStream& stream, CString& text);
    // The rest of the line, verbatim. Always true.
    static bool ScanValue(CStream& stream, CString& text);

protected:
    CRegNode* Node() { return node_; }

    // Saved, cleared and restored around a registry's Read; nothing else looks at it.
    bool flag_ = false;

private:
    CRegNode* DeepFind(const char* path) const;

    CRegNode* node_ = nullptr;
};

}  // namespace Tova
