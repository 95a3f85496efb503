#include "vars/CFormat.h"

#include "text/Ch.h"
#include "vars/GlobalVars.h"
#include "vars/Substitution.h"

#include <climits>
#include <cstring>
#include <new>
#include <string>

namespace Tova {

CFormat::CFormat(const char* text, const char* delimiters, unsigned flags) {
    if (text != nullptr) {
        *this = text;
    }
    Init(delimiters, flags);
}

CFormat& CFormat::operator=(const char* text) {
    CString::operator=(text);
    return *this;
}

void CFormat::Init(const char* delimiters, unsigned flags) {
    const char* pair = delimiters != nullptr ? delimiters : "<>";
    delimiters_[0] = pair[0];
    delimiters_[1] = pair[0] != '\0' ? pair[1] : '\0';
    if ((flags & cKeepVariables) == 0) {
        Apply(GlobalVars);
    }
}

int CFormat::Apply(const CVarList& vars) {
    return vars.Apply(*this, delimiters_);
}

bool CFormat::Item(const char* name, const void* data, FmtFunc format) {
    if (format == nullptr || name == nullptr) {
        return false;
    }
    bool filled = false;
    char spec[cMaxSpecLength + 1];
    std::string done;
    RestOfText rest({CStr(), static_cast<std::size_t>(Length())});
    std::size_t end = 0;
    while (const char* found = FindVar(rest.Text(), name, spec, end)) {
        done.append(rest.Text(), found);
        rest.Drop(end);
        CString out;
        if (format(spec, data, out)) {
            rest.Prepend(out.CStr(), static_cast<std::size_t>(out.Length()));
            filled = true;
        }
        if (done.size() + rest.Length() >= INT_MAX) {
            throw std::bad_alloc();
        }
    }
    Assign(*this, done.append(rest.Text(), rest.Length()));
    return filled;
}

int CFormat::GetNextVar(int start, const char* name, char* spec) {
    if (start < 0 || start > Length() || name == nullptr || spec == nullptr) {
        return -1;
    }
    std::size_t end = 0;
    const char* found = FindVar(Lock(0) + start, name, spec, end);
    Unlock();
    if (found == nullptr) {
        return -1;
    }
    const int position = static_cast<int>(found - CStr());
    Delete(position, start + static_cast<int>(end) - position);
    return position;
}

// Returns the opening delimiter of the first placeholder in `text`, and sets `end` to the index
// behind the closing one. Returns null if there is none.
const char* CFormat::FindVar(const char* text, const char* name, char* spec,
                             std::size_t& end) const {
    const char open = delimiters_[0];
    const char close = delimiters_[1];
    if (close == '\0') {
        return nullptr;
    }
    const std::size_t nameLength = std::strlen(name);
    const char* opening = std::strchr(text, open);
    while (opening != nullptr) {
        const char* cursor = opening + 1;
        if (std::strncmp(cursor, name, nameLength) != 0) {
            opening = std::strchr(cursor, open);
            continue;
        }
        cursor += nameLength;
        *spec = '\0';
        if (*cursor == ':') {
            const char* first = cursor + 1;
            const std::size_t window = strnlen(first, cMaxSpecLength + 1);
            const void* closing = std::memchr(first, close, window);
            if (closing == nullptr) {
                opening = std::strchr(first, open);
                continue;
            }
            cursor = static_cast<const char*>(closing);
            const auto length = static_cast<std::size_t>(cursor - first);
            std::memcpy(spec, first, length);
            spec[length] = '\0';
        }
        if (*cursor == close) {
            end = static_cast<std::size_t>(cursor + 1 - text);
            return opening;
        }
        opening = std::strchr(cursor, open);
    }
    return nullptr;
}

bool CFormat::DecodeFormatSpec(char* spec, FmtSpec& out) {
    const char* cursor = spec != nullptr ? spec : "";
    out.type = '\0';
    out.pad = ' ';
    if (*cursor == '0') {
        out.pad = '0';
        ++cursor;
    }
    long long width = 0;
    for (; Ch::IsDigit(*cursor); ++cursor) {
        width = width * 10 + (*cursor - '0');
        width = width < INT_MAX ? width : INT_MAX;
    }
    out.width = static_cast<int>(width);
    if (*cursor == '\0') {
        return true;
    }
    if (std::strchr("Xcdoux", *cursor) == nullptr) {
        return false;
    }
    out.type = *cursor;
    return true;
}

bool CFormat::FmtString(char* spec, const void* data, CString& out) {
    const char* text = data != nullptr ? static_cast<const char*>(data) : "";
    FmtSpec decoded;
    // Deliberate: the result does not matter, so that "10s" serves as well as "10".
    static_cast<void>(DecodeFormatSpec(spec, decoded));
    const std::size_t length = std::strlen(text);
    if (static_cast<std::size_t>(decoded.width) > length) {
        out.Append(decoded.pad, decoded.width - static_cast<int>(length));
    }
    out.Append(text);
    return true;
}

}  // namespace Tova
