#include "vars/CVar.h"

#include "vars/Substitution.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

namespace Tova {

namespace {

void copyText(std::string_view text, char* to) {
    text.copy(to, text.size());
    to[text.size()] = '\0';
}

}  // namespace

std::size_t CVar::SizeOf(std::string_view name, std::string_view value) {
    const std::uint64_t size = sizeof(CVar) + std::uint64_t{name.size()} + 1 + 1 +
                               std::max<std::uint64_t>(value.size() + 1, sizeof(char*));
    if (name.size() >= INT_MAX || value.size() >= INT_MAX || size > PTRDIFF_MAX) {
        throw std::bad_alloc();
    }
    return static_cast<std::size_t>(size);
}

CVar::CVar(std::string_view name, std::string_view value) : nameLength_(name.size() & INT_MAX) {
    copyText(name, reinterpret_cast<char*>(this + 1));
    copyText(value, FirstValue());
    NoteValue(value.size());
}

void CVar::NoteValue(std::size_t length) {
    valueLength_ = length & INT_MAX;
    *UsualEndMark() = ValueView().find(cUsualEnd) != std::string_view::npos ? 1 : 0;
}

void CVar::SetValue(std::string_view value) {
    if (fixed_) {
        return;
    }
    if (value.size() <= valueLength_) {
        char* own = OwnValue();
        std::char_traits<char>::move(own, value.data(), value.size());
        own[value.size()] = '\0';
    } else {
        static_cast<void>(SizeOf({}, value));
        char* copy = new char[value.size() + 1];
        copyText(value, copy);
        DropValue();
        std::memcpy(FirstValue(), &copy, sizeof copy);
        isElsewhere_ = 1;
    }
    NoteValue(value.size());
}

int CVar::Apply(CString& text, const char* delimiters) const {
    const Delimiters pair(delimiters);
    if (std::strstr(text.CStr(), Name()) == nullptr) {
        return 0;
    }
    std::string done;
    RestOfText rest({text.CStr(), static_cast<std::size_t>(text.Length())});
    unsigned count = 0;
    while (const char* found = std::strstr(rest.Text(), Name())) {
        const auto skipped = static_cast<std::size_t>(found - rest.Text());
        done.append(rest.Text(), skipped);
        rest.Drop(skipped);
        if (!done.empty() && done.back() == pair.open && rest.Length() > nameLength_ &&
            rest.Text()[nameLength_] == pair.close) {
            done.pop_back();
            rest.Drop(nameLength_ + 1);
            rest.Prepend(Value(), valueLength_);
            ++count;
        }
        if (rest.Length() == 0) {
            break;
        }
        if (done.size() + rest.Length() >= INT_MAX) {
            throw std::bad_alloc();
        }
        // The search goes on one byte further, with or without a replacement.
        done.push_back(*rest.Text());
        rest.Drop(1);
    }
    if (count != 0) {
        done.append(rest.Text(), rest.Length());
        Assign(text, done);
    }
    return static_cast<int>(count);
}

}  // namespace Tova
