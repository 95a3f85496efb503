// An ordered list of named text variables. It substitutes them into texts and keeps them in
// configuration files. It has no lock; its owner serialises access.
#pragma once

#include "fs/CFSPath.h"
#include "text/CPool.h"
#include "text/CString.h"
#include "text/RStatus.h"
#include "vars/CVar.h"
#include "vars/NameIndex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace Tova {

class CStream;
class WideVars;

// Names are unique, compared byte for byte, and may be empty. A variable keeps the place of its
// first setting. A fixed variable keeps its value whatever is set later.
class CVarList {
public:
    constexpr CVarList() = default;
    CVarList(const CVarList&) = delete;
    CVarList& operator=(const CVarList&) = delete;
    ~CVarList() { Empty(); }

    // Sets or appends a variable. A "%" at the start of `name` is not part of the name and fixes
    // the variable, as `fixed` does. The call that fixes a variable still sets its value. `value`
    // may belong to this list; null counts as an empty text. A null name does nothing. Throws
    // std::bad_alloc if memory runs out; the list is then as before.
    void SetValue(const char* name, const char* value, bool fixed);
    // Does the same with texts that hold no NUL.
    void SetValue(std::string_view name, std::string_view value, bool fixed);
    // Stores "1" or "0".
    void SetValue(const char* name, bool value, bool fixed) {
        SetValue(name, value ? "1" : "0", fixed);
    }
    // Stores the decimal digits of the low 32 bits, as a signed number.
    void SetValue(const char* name, long value, bool fixed);

    std::size_t Count() const { return count_; }
    // Makes room for so many variables in all, if the list is long enough to have a table of names.
    // Throws std::bad_alloc.
    void Reserve(std::size_t count);
    // Tells the processor that a variable is set soon, so that the memory to look into is near
    // then.
    void Prefetch(std::string_view name) const;

    // Returns the value, which stays valid until the variable is set again. Returns null if there
    // is no such variable.
    const char* GetValue(const char* name) const;
    // Copies the value. Returns false, with `value` empty, if there is no such variable.
    bool GetValue(const char* name, CString& value) const;
    // Returns the variable, which the list still owns, or null.
    CVar* FindVar(const char* name) const {
        return name != nullptr ? FindVar(std::string_view(name)) : nullptr;
    }
    CVar* FindVar(std::string_view name) const;
    // Returns the first variable, which the list still owns; CVar::Next leads to the others.
    // Returns null if the list is empty.
    const CVar* First() const { return head_; }

    // Destroys every variable.
    void Empty();
    // Exchanges the variables of the two lists.
    void Swap(CVarList& other) noexcept;
    // Sets every variable of `other` (which may be this list), in its order, with its fixed mark.
    CVarList& operator+=(const CVarList& other);

    // Replaces each placeholder, a name between the two `delimiters`, by the variable's value, and
    // again whatever placeholders arise from that, until none is left. Returns the number of
    // replacements. Unknown names stay, delimiters included. Null delimiters stand for "<>",
    // further characters are ignored, and with fewer than two no text is a placeholder.
    // Deliberate: values that refer to each other in a circle never end. There is no guard; callers
    // see to it.
    int Apply(CString& text, const char* delimiters) const;
    // Does the same for a platform string. Returns 0, with the text unchanged, if the text is null
    // or immutable, or the delimiters are not exactly two UTF-16 units. A variable that is not
    // valid in the system encoding counts as unknown.
    int Apply(CFMutableStringRef text, CFStringRef delimiters) const;

    // Sets `out` to the list as a form-encoded query, "name=value&name=value", and returns the
    // number of variables. A byte of 0x80 or more cuts its name or value off after a "%" (see
    // CString::TranslateToURIString).
    int GetValues(CString& out) const;

    // These read and write configuration files as vars/ConfigFile.h says: WriteConfiguration,
    // ReadConfiguration, WriteVariables and ReadVariables. A caller that must not use a damaged
    // file reads into a fresh list and drops that list on a failure.
    RStatus WriteToFile(const CFSPath& path) const;
    RStatus ReadFromEncryptedFile(const CFSPath& path);
    void Write(CStream& stream) const;
    void ReadNWC(CStream& stream);

private:
    struct DropWide {
        void operator()(const WideVars* vars) const;
    };

    CVar* Append(std::string_view name, std::string_view value, std::uint64_t hash);
    void MakeIndexFor(std::size_t count);
    bool ScanServes(char open, char close) const;
    int ApplyInPasses(CString& text, const char* delimiters) const;

    CVar* head_ = nullptr;
    CVar* tail_ = nullptr;
    std::size_t count_ = 0;
    // Tells of every byte value whether it occurs in some name.
    std::array<bool, 256> nameBytes_{};
    // Leads from name to variable; used once the list is long.
    NameIndex<CVar, char> index_;
    std::unique_ptr<CPool> memory_;
    // What Apply made of the variables for platform strings, until one of them changes.
    mutable std::unique_ptr<const WideVars, DropWide> wide_;
};

}  // namespace Tova
