// A text template: a string with its own pair of delimiters. Variable lists fill its placeholders,
// or a formatting function fills those of one name. One thread at a time.
#pragma once

#include "text/CString.h"
#include "vars/CVarList.h"

namespace Tova {

// A placeholder is a name between the delimiters. The name may be followed by ":" and a
// specification of at most 10 bytes for the formatting function.
class CFormat : public CString {
public:
    // For example, "05x" has the type 'x', the pad '0' and the width 5.
    struct FmtSpec {
        char type;  // one of X c d o u x, or 0
        char pad;   // '0' or a blank
        int width;  // bytes; INT_MAX stands for every larger number
    };
    // Receives a format specification ("" for none), which it may write to, and the data given to
    // Item. Fills `out`, which is empty, and returns false if nothing is to be inserted.
    using FmtFunc = bool (*)(char* spec, const void* data, CString& out);

    static constexpr int cMaxSpecLength = 10;
    // With this flag Init leaves the application variables for later.
    static constexpr unsigned cKeepVariables = 1;

    // Does what operator= (unless `text` is null) and then Init do.
    CFormat(const char* text, const char* delimiters, unsigned flags);
    CFormat& operator=(const char* text);

    // Sets the delimiters, then applies GlobalVars unless `flags` holds cKeepVariables. The first
    // two characters of `delimiters` count; null stands for "<>". With fewer than two characters no
    // text is a placeholder.
    void Init(const char* delimiters, unsigned flags);

    // Applies the variables as CVarList::Apply does, and returns the number of replacements.
    int Apply(const CVarList& vars);

    // Replaces every placeholder of `name` by what `format` makes of it. The placeholder disappears
    // if `format` returns false. Returns true if at least one call returned true.
    // Deliberate: the search goes on at the start of what was inserted, as templates rely on it. So
    // a function that produces the placeholder which it is filling never ends.
    bool Item(const char* name, const void* data, FmtFunc format);
    // Removes the next placeholder of `name` at or after `start` and returns its position. `spec`,
    // which has room for cMaxSpecLength + 1 bytes, receives its specification. Returns -1, with the
    // text unchanged, if there is none or `start` lies outside the text.
    int GetNextVar(int start, const char* name, char* spec);

    // Returns false if the character after the width is no type of FmtSpec. Sets pad and width all
    // the same.
    static bool DecodeFormatSpec(char* spec, FmtSpec& out);
    // The formatting function for a NUL-terminated text, which it aligns to the right. Returns
    // true.
    static bool FmtString(char* spec, const void* data, CString& out);

private:
    const char* FindVar(const char* text, const char* name, char* spec, std::size_t& end) const;

    char delimiters_[3] = "<>";
};

}  // namespace Tova
