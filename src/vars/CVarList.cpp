#include "vars/CVarList.h"

#include "text/Str.h"
#include "vars/ConfigFile.h"

#include <utility>

namespace Tova {

namespace {

// A list of this length is searched by hashing; below it, walking is as fast.
constexpr std::size_t cIndexFrom = 16;

}  // namespace

void CVarList::SetValue(const char* name, const char* value, bool fixed) {
    if (name == nullptr) {
        return;
    }
    if (*name == '%') {
        ++name;
        fixed = true;
    }
    CVar* var = FindVar(name);
    if (var != nullptr) {
        var->SetValue(value);
    } else {
        auto made = std::make_unique<CVar>(name, value);
        var = made.get();
        Append(std::move(made));
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
void CVarList::Append(std::unique_ptr<CVar> var) {
    if (index_) {
        index_->emplace(var->NameView(), var.get());
    } else if (count_ + 1 >= cIndexFrom) {
        auto index = std::make_unique<std::unordered_map<std::string_view, CVar*>>();
        for (CVar* old = head_; old != nullptr; old = old->next_) {
            index->emplace(old->NameView(), old);
        }
        index->emplace(var->NameView(), var.get());
        index_ = std::move(index);
    }
    for (const char* c = var->Name(); *c != '\0'; ++c) {
        nameBytes_.set(static_cast<unsigned char>(*c));
    }
    (tail_ != nullptr ? tail_->next_ : head_) = var.get();
    tail_ = var.release();
    ++count_;
}

CVar* CVarList::FindVar(std::string_view name) const {
    if (index_) {
        const auto found = index_->find(name);
        return found != index_->end() ? found->second : nullptr;
    }
    CVar* var = head_;
    while (var != nullptr && name != var->NameView()) {
        var = var->next_;
    }
    return var;
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
    index_.reset();
    nameBytes_.reset();
    count_ = 0;
    tail_ = nullptr;
    // A loop: chained destructors would recurse as deep as the list is long.
    for (CVar* var = std::exchange(head_, nullptr); var != nullptr;) {
        delete std::exchange(var, var->next_);
    }
}

void CVarList::Swap(CVarList& other) noexcept {
    std::swap(head_, other.head_);
    std::swap(tail_, other.tail_);
    std::swap(count_, other.count_);
    std::swap(nameBytes_, other.nameBytes_);
    std::swap(index_, other.index_);
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
