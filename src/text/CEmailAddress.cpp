#include "text/CEmailAddress.h"

#include <cstring>

namespace Tova {

namespace {

// Returns true for white space, control characters and every byte of 0x80 or more, which is
// negative as a signed byte.
bool isForbidden(char c) {
    return static_cast<signed char>(c) < 0x21 || c == 0x7F;
}

bool isSpecial(char c) {
    return c != '\0' && std::strchr("()<>@,;:\\\"[]", c) != nullptr;
}

// Returns the place after the quote that closes the string begun before `at`. Returns null if
// nothing closes it or a byte in it is not accepted.
const char* skipQuoted(const char* at, const char* end) {
    while (at != end && *at != '"') {
        const bool escaped = *at == '\\';
        if (escaped && ++at == end) {
            return nullptr;
        }
        if (isForbidden(*at) && !(escaped && *at == ' ')) {
            return nullptr;
        }
        ++at;
    }
    return at != end ? at + 1 : nullptr;
}

// Returns the place of the "@" that ends the local part, or null if the part is not valid.
const char* skipLocalPart(const char* begin, const char* end) {
    const char* at = begin;
    while (at != end && *at != '@') {
        if (*at == '"' && (at == begin || at[-1] == '.')) {
            at = skipQuoted(at + 1, end);
            if (at == nullptr || at == end || (*at != '.' && *at != '@')) {
                return nullptr;
            }
        } else if (isForbidden(*at) || isSpecial(*at)) {
            return nullptr;
        } else {
            ++at;
        }
    }
    const bool valid = at != end && at != begin && at[-1] != '.';
    return valid ? at : nullptr;
}

bool isDomain(const char* begin, const char* end) {
    int dots = 0;
    for (const char* at = begin; at != end; ++at) {
        if (isForbidden(*at) || isSpecial(*at)) {
            return false;
        }
        if (*at == '.') {
            if (at == begin || at[-1] == '.') {
                return false;
            }
            ++dots;
        }
    }
    return dots > 0 && end[-1] != '.';
}

}  // namespace

bool CEmailAddress::IsValid() const {
    const char* begin = text_.CStr();
    const char* end = begin + text_.Length();
    const char* at = skipLocalPart(begin, end);
    return at != nullptr && isDomain(at + 1, end);
}

}  // namespace Tova
