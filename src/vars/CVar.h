// One named text variable of a CVarList. It has no lock; the owner of the list serialises access.
#pragma once

#include "text/CString.h"

#include <memory>
#include <string_view>

namespace Tova {

// Name and value are NUL-terminated bytes in the system encoding, of any length. The name never
// changes.
class CVar {
public:
    // Copies both texts; null counts as an empty one.
    CVar(const char* name, const char* value);
    CVar(const CVar&) = delete;
    CVar& operator=(const CVar&) = delete;

    // Stores a copy of `value`, which may be the variable's own; null counts as an empty text. Does
    // nothing once the variable is fixed.
    void SetValue(const char* value);

    // Replaces this variable's placeholders in `text` and returns how many there were. This is its
    // share of one pass of CVarList::Apply.
    // Deliberate: an inserted value is searched again from its second byte on. So a value that
    // holds the variable's own placeholder there never ends; callers see to it.
    int Apply(CString& text, const char* delimiters) const;
    const char* Name() const { return name_.get(); }
    // The value stays valid until the next SetValue.
    const char* Value() const { return value_.get(); }
    std::string_view ValueView() const { return value_.get(); }
    bool IsFixed() const { return fixed_; }
    const CVar* Next() const { return next_; }

private:
    friend class CVarList;

    std::string_view NameView() const { return {name_.get(), nameLength_}; }

    bool fixed_ = false;
    std::size_t nameLength_;
    std::unique_ptr<char[]> name_;
    std::unique_ptr<char[]> value_;
    CVar* next_ = nullptr;
};

}  // namespace Tova
