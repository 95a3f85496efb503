// A text template: a string with its own pair of delimiters, whose placeholders are filled from
// variable lists, or one name at a time with a formatting function. One thread at a time.
#pragma once

#include "text/CString.h"
#include "vars/CVarList.h"

namespace Tova {

// A placeholder is a name between the delimiters; after the name there may be ":" and a
// specification of at most 10 bytes for the formatting function.
class CFormat : public CString {
public:
    // "05x" is a type of 'x', a pad of '0' and a width of 5.
    struct FmtSpec {
        char type;  // one of X c d o u x, or 0
        char pad;   // '0' or a blank
        int width;  // bytes; more than an int holds is the largest int
    };
    // Receives a format specification ("" for none), which it may write to, and the data given to
    // Item; fills `out`, which is empty. False: nothing is to be inserted.
    using FmtFunc = bool (*)(char* spec, const void* data, CString& out);

    static constexpr int cMaxSpecLength = 10;
    // Init leaves the application variables for later.
    static constexpr unsigned cKeepVariables = 1;

    // As operator= (unless `text` is null) followed by Init.
    CFormat(const char* text, const char* delimiters, unsigned flags);
    CFormat& operator=(const char* text);

    // Sets the delimiters (null: "<>"; the first two characters count, and with fewer than two
    // there is no placeholder), then applies GlobalVars unless `flags` holds cKeepVariables.
    void Init(const char* delimiters, unsigned flags);

    // The number of replacements; as CVarList::Apply.
    int Apply(const CVarList& vars);

    // Replaces every placeholder of `name` by what `format` makes of it; where it returns false,
    // the placeholder disappears. True when at least one call returned true. The search goes on at
    // the start of what was inserted, so a function that produces the placeholder which it is
    // filling never ends.
    bool Item(const char* name, const void* data, FmtFunc format);
    // Removes the next placeholder of `name` at or after `start` and returns its position, with its
    // specification in `spec` (room for cMaxSpecLength + 1 bytes). -1, with the text unchanged,
    // when there is none or `start` lies outside the text.
    int GetNextVar(int start, const char* name, char* spec);

    // False when a character other than those of FmtSpec stands where the type should: pad and
    // width are set all the same.
    static bool DecodeFormatSpec(char* spec, FmtSpec& out);
    // The formatting function for a NUL-terminated text, aligned to the right. Always true.
    static bool FmtString(char* spec, const void* data, CString& out);

private:
    int FindVar(const char* text, int start, const char* name, char* spec, int& end) const;

    char delimiters_[3] = "<>";
};

}  // namespace Tova
