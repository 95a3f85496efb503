#include "vars/CVarList.h"

#include "text/NameHash.h"
#include "text/Str.h"
#include "vars/ConfigFile.h"

#include <utility>

namespace Tova {

namespace {

// A list of this length is searched by hashing; below it, walking is as fast.
constexpr std::size_t cIndexFrom = 8;

std::string_view viewOf(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

}  // namespace

void CVarList::SetValue(const char* name, const char* value, bool fixed) {
    if (name != nullptr) {
        SetValue(std::string_view(name), viewOf(value), fixed);
    }
}

void CVarList::SetValue(std::string_view name, std::string_view value, bool fixed) {
    if (name.starts_with('%')) {
        name.remove_prefix(1);
        fixed = true;
    }
    wide_.reset();
    const std::uint64_t hash = HashName(name);
    CVar* var = count_ >= cIndexFrom ? index_.Find(name, hash) : FindVar(name);
    if (var != nullptr) {
        var->SetValue(value);
    } else {
        var = Append(name, value, hash);
    }
    if (fixed) {
        var->fixed_ = true;
    }
}

void CVarList::SetValue(const char* name, long value, bool fixed) {
    char digits[Str::cMaxNumberText];
    Str::Format(digits, "%d", static_cast<int>(value));
    SetValue(name, digits, fixed);
}

// Everything that can fail comes before the list changes.
CVar* CVarList::Append(std::string_view name, std::string_view value, std::uint64_t hash) {
    const bool hasIndex = count_ + 1 >= cIndexFrom;
    if (hasIndex) {
        MakeIndexFor(count_ + 1);
    }
    if (!memory_) {
        memory_ = std::make_unique<CPool>();
    }
    static_assert(alignof(CVar) <= CPool::cUnit);
    auto* var = new (memory_->Allocate(CVar::SizeOf(name, value))) CVar(name, value);
    if (hasIndex) {
        index_.Insert(*var, hash);
    }
    for (const char c : name) {
        nameBytes_[static_cast<unsigned char>(c)] = true;
    }
    (tail_ != nullptr ? tail_->next_ : head_) = var;
    tail_ = var;
    ++count_;
    return var;
}

// A short list has no table, and what is appended to it is not entered.
void CVarList::Reserve(std::size_t count) {
    if (count_ >= cIndexFrom) {
        MakeIndexFor(count);
    }
}

void CVarList::MakeIndexFor(std::size_t count) {
    index_.Reserve(count, [this](auto enter) {
        for (CVar* known = head_; known != nullptr; known = known->next_) {
            enter(*known);
        }
    });
}

CVar* CVarList::FindVar(std::string_view name) const {
    if (count_ >= cIndexFrom) {
        return index_.Find(name, HashName(name));
    }
    CVar* var = head_;
    while (var != nullptr && name != var->NameView()) {
        var = var->next_;
    }
    return var;
}

void CVarList::Prefetch(std::string_view name) const {
    index_.Prefetch(HashName(name.substr(name.starts_with('%') ? 1 : 0)));
}

const char* CVarList::GetValue(const char* name) const {
    const CVar* var = FindVar(name);
    return var != nullptr ? var->Value() : nullptr;
}

bool CVarList::GetValue(const char* name, CString& value) const {
    const char* found = GetValue(name);
    value.Copy(found);
    return found != nullptr;
}

void CVarList::Empty() {
    for (CVar* var = std::exchange(head_, nullptr); var != nullptr;) {
        std::exchange(var, var->next_)->~CVar();
    }
    tail_ = nullptr;
    count_ = 0;
    nameBytes_ = {};
    index_ = {};
    memory_.reset();
    wide_.reset();
}

void CVarList::Swap(CVarList& other) noexcept {
    std::swap(head_, other.head_);
    std::swap(tail_, other.tail_);
    std::swap(count_, other.count_);
    std::swap(nameBytes_, other.nameBytes_);
    std::swap(index_, other.index_);
    std::swap(memory_, other.memory_);
    std::swap(wide_, other.wide_);
}

CVarList& CVarList::operator+=(const CVarList& other) {
    for (const CVar* var = other.head_; var != nullptr; var = var->Next()) {
        SetValue(var->Name(), var->Value(), var->IsFixed());
    }
    return *this;
}

int CVarList::GetValues(CString& out) const {
    out.Clear();
    CString escaped;
    const auto append = [&](const char* text) {
        escaped.ToURIEscapedString(text, Ch::cURIQuery, Ch::cKeepLegal, Ch::cFormFormat);
        out.Append(escaped.CStr());
    };
    for (const CVar* var = head_; var != nullptr; var = var->Next()) {
        if (var != head_) {
            out.Append("&");
        }
        append(var->Name());
        out.Append("=");
        append(var->Value());
    }
    return static_cast<int>(count_);
}

RStatus CVarList::WriteToFile(const CFSPath& path) const {
    return WriteConfiguration(path, *this);
}

RStatus CVarList::ReadFromEncryptedFile(const CFSPath& path) {
    return ReadConfiguration(path, *this, nullptr);
}

void CVarList::Write(CStream& stream) const {
    WriteVariables(stream, *this);
}

void CVarList::ReadNWC(CStream& stream) {
    ReadVariables(stream, *this);
}

}  // namespace Tova
