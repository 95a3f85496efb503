#include "vars/CVar.h"

#include "vars/Substitution.h"

#include <climits>
#include <cstring>
#include <new>
#include <string>

namespace Tova {

namespace {

std::unique_ptr<char[]> copyOf(const char* text) {
    const std::size_t size = text != nullptr ? std::strlen(text) + 1 : 1;
    std::unique_ptr<char[]> copy(new char[size]);
    std::memcpy(copy.get(), text != nullptr ? text : "", size);
    return copy;
}

}  // namespace

CVar::CVar(const char* name, const char* value)
    : nameLength_(name != nullptr ? std::strlen(name) : 0), name_(copyOf(name)),
      value_(copyOf(value)) {}

void CVar::SetValue(const char* value) {
    if (!fixed_) {
        // The copy comes first: `value` may be the old value or a part of it.
        value_ = copyOf(value);
    }
}

int CVar::Apply(CString& text, const char* delimiters) const {
    const Delimiters pair(delimiters);
    if (std::strstr(text.CStr(), Name()) == nullptr) {
        return 0;
    }
    const std::size_t valueLength = std::strlen(Value());
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
            rest.Prepend(Value(), valueLength);
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
