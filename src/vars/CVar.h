// One named text variable of a CVarList. It has no lock; the owner of the list serialises access.
#pragma once

#include "text/CString.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Tova {

// Name and value are NUL-terminated bytes in the system encoding, of any length that int can hold.
// The name never changes. A variable lies in the memory of its list, with its name and its first
// value right behind it, so that it costs one piece of memory.
class CVar {
public:
    CVar(const CVar&) = delete;
    CVar& operator=(const CVar&) = delete;

    // Replaces this variable's placeholders in `text` and returns how many there were. This is its
    // share of one pass of CVarList::Apply.
    // Deliberate: an inserted value is searched again from its second byte on. So a value that
    // holds the variable's own placeholder there never ends; callers see to it.
    int Apply(CString& text, const char* delimiters) const;
    const char* Name() const { return reinterpret_cast<const char*>(this + 1); }
    // The value stays valid until the variable is set again.
    const char* Value() const { return OwnValue(); }
    std::string_view NameView() const { return {Name(), nameLength_}; }
    std::string_view ValueView() const { return {Value(), valueLength_}; }
    // Tells whether the character occurs in the value. The answer for the usual end of a
    // placeholder is kept, because the search would be a tenth of a substitution.
    bool ValueHolds(char c) const {
        return c == cUsualEnd ? *UsualEndMark() != 0
                              : ValueView().find(c) != std::string_view::npos;
    }
    bool IsFixed() const { return fixed_; }
    const CVar* Next() const { return next_; }

private:
    friend class CVarList;

    // Returns how many bytes a variable takes, texts included. Throws std::bad_alloc if int cannot
    // hold the length of a text.
    static std::size_t SizeOf(std::string_view name, std::string_view value);
    // Copies both texts behind the object, which lies in SizeOf bytes.
    CVar(std::string_view name, std::string_view value);
    ~CVar() { DropValue(); }

    // Stores a copy of `value`, which may be the variable's own or a part of it. Does nothing once
    // the variable is fixed.
    void SetValue(std::string_view value);

    static constexpr char cUsualEnd = '>';

    // Behind the name stand the mark that ValueHolds reads and the first value. A longer value
    // stands elsewhere. Its address then takes the place of the first value.
    char* UsualEndMark() const { return const_cast<char*>(Name()) + nameLength_ + 1; }
    char* FirstValue() const { return UsualEndMark() + 1; }
    char* OwnValue() const {
        char* first = FirstValue();
        if (!isElsewhere_) [[likely]] {
            return first;
        }
        char* other = nullptr;
        std::memcpy(&other, first, sizeof other);
        return other;
    }
    // Notes what is at OwnValue(), which has this length.
    void NoteValue(std::size_t length);
    // Frees the value if it is not the first one.
    void DropValue() {
        if (isElsewhere_) {
            delete[] OwnValue();
        }
    }

    CVar* next_ = nullptr;
    std::uint32_t nameLength_ : 31;
    std::uint32_t fixed_ : 1 = 0;
    std::uint32_t valueLength_ : 31;
    std::uint32_t isElsewhere_ : 1 = 0;
};

}  // namespace Tova
