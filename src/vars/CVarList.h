// An ordered list of named text variables, which it substitutes into texts and keeps in
// configuration files. It has no lock; whoever owns the list serialises access.
#pragma once

#include "fs/CFSPath.h"
#include "text/CString.h"
#include "text/RStatus.h"
#include "vars/CVar.h"

#include <bitset>
#include <memory>
#include <string_view>
#include <unordered_map>

namespace Tova {

class CStream;

// Names are unique, compared byte for byte, and may be empty. A variable keeps its place, that of
// its first setting. Once fixed, it keeps its value whatever is set later.
class CVarList {
public:
    constexpr CVarList() = default;
    CVarList(const CVarList&) = delete;
    CVarList& operator=(const CVarList&) = delete;
    ~CVarList() { Empty(); }

    // Sets or appends a variable. A "%" at the start of `name` is not part of the name and fixes
    // the variable, as `fixed` does; the value of the call that fixes a variable is still taken.
    // `value` may belong to this list; null counts as an empty text, and a null name does nothing.
    // When memory runs out, std::bad_alloc, and the list is as before.
    void SetValue(const char* name, const char* value, bool fixed);
    // Stores "1" or "0".
    void SetValue(const char* name, bool value, bool fixed);
    // Stores the decimal digits of the low 32 bits, as a signed number.
    void SetValue(const char* name, long value, bool fixed);

    // The value, valid until the variable is set again; null when there is no such variable.
    const char* GetValue(const char* name) const;
    // Copies the value; false, with `value` empty, when there is no such variable.
    bool GetValue(const char* name, CString& value) const;
    // The variable, still owned by the list, or null.
    CVar* FindVar(const char* name) const;
    CVar* FindVar(std::string_view name) const;
    // The first variable, still owned by the list; follow CVar::Next. Null when the list is empty.
    const CVar* First() const { return head_; }

    // Destroys every variable.
    void Empty();
    // Sets every variable of `other` (which may be this list), in its order, with its fixed mark.
    CVarList& operator+=(const CVarList& other);

    // Replaces each placeholder, a name between the two `delimiters` (null: "<>"; further
    // characters are ignored, and with fewer than two there is no placeholder), by the variable's
    // value, and again whatever placeholders arise from that, until none is left. Returns the
    // number of replacements. Unknown names stay, delimiters included. Values that refer to each
    // other in a circle never end: there is no guard on purpose, callers see to it.
    int Apply(CString& text, const char* delimiters) const;
    // The same for a platform string. 0, with the text unchanged, for a null text or delimiters
    // that are not exactly two UTF-16 units. A variable that is not valid in the system encoding
    // counts as unknown.
    int Apply(CFMutableStringRef text, CFStringRef delimiters) const;

    // Makes `out` the list as a form-encoded query, "name=value&name=value", and returns the number
    // of variables. A byte of 0x80 or more cuts its name or value off after a "%" (see
    // CString::TranslateToURIString).
    int GetValues(CString& out) const;

    // Writes the list as a configuration file (see ConfigFile.h), replacing what is there in place.
    // The status is that of opening the file; what fails after that is not reported.
    RStatus WriteToFile(const CFSPath& path) const;
    // Adds what a configuration file holds to the list, which is not cleared first. The status of
    // opening, or ErrBadFormat for a header or check value that differs. Variables read before the
    // check value failed stay in the list, so a caller that must not use a damaged file reads into
    // a fresh list and drops it.
    RStatus ReadFromEncryptedFile(const CFSPath& path);
    // The records of such a file alone: writing leaves out the empty name that ends them, reading
    // takes it.
    void Write(CStream& stream) const;
    void ReadNWC(CStream& stream);

private:
    void Append(std::unique_ptr<CVar> var);
    bool ScanServes(char open, char close) const;
    int ApplyInPasses(CString& text, const char* delimiters) const;

    CVar* head_ = nullptr;
    CVar* tail_ = nullptr;
    std::size_t count_ = 0;
    // Every byte value that occurs in some name.
    std::bitset<256> nameBytes_;
    // Name to variable, made once the list is long.
    std::unique_ptr<std::unordered_map<std::string_view, CVar*>> index_;
};

}  // namespace Tova
