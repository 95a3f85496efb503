#include "registry/CRegDir.h"

#include "registry/RegNames.h"
#include "text/Ch.h"
#include "text/Str.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace Tova {

namespace {

// The room for any number as text, with sign and NUL.
constexpr std::size_t cNumberSize = 66;

}  // namespace

CRegDir& CRegDir::operator=(const CRegDir& other) {
    if (this != &other && other.node_ != nullptr) {
        SetNode(other.node_);
    }
    return *this;
}

CRegNode* CRegDir::SetNode(CRegNode* node) {
    if (node != nullptr) {
        ++node->handleCount_;
    }
    if (node_ != nullptr) {
        --node_->handleCount_;
    }
    return std::exchange(node_, node);
}

RStatus CRegDir::GetNodeType(const char* path) const {
    const CRegNode* found = DeepFind(path);
    if (found == nullptr) {
        return ErrNotFound;
    }
    return found->IsDirectory() ? S_RegIsDirectory : S_RegIsValue;
}

bool CRegDir::OpenDir(const char* path, CRegDir& out) const {
    CRegNode* found = DeepFind(path);
    if (found == nullptr || !found->IsDirectory()) {
        return false;
    }
    out.SetNode(found);
    return true;
}

bool CRegDir::Take(CRegNode* node, CRegDir& out) {
    if (node == nullptr) {
        return false;
    }
    out.SetNode(node);
    return true;
}

bool CRegDir::CreateSubDir(const char* name, CRegDir& out) {
    return node_ != nullptr && name != nullptr && Take(node_->OpenOrMake(name), out);
}

bool CRegDir::CreateParentDirs(const char*& path, CRegDir& out) {
    if (node_ == nullptr || path == nullptr) {
        return false;
    }
    std::string_view rest = path;
    CRegNode* parent = node_->FollowParents(rest);
    path = rest.data();
    return Take(parent, out);
}

bool CRegDir::CreateDir(const char* path, CRegDir& out) {
    return node_ != nullptr && path != nullptr && Take(node_->OpenOrMakePath(path), out);
}

bool CRegDir::SetValue(const char* path, const char* value) {
    return node_ != nullptr && path != nullptr &&
           node_->SetValueAt(path, value == nullptr ? std::string_view() : std::string_view(value));
}

bool CRegDir::SetValue(const char* path, long value) {
    char text[cNumberSize];
    return SetValue(path, Str::ToString(value, text, 10));
}

bool CRegDir::SetValue(const char* path, unsigned long value) {
    char text[cNumberSize];
    return SetValue(path, Str::ToString(value, text, 10, false));
}

const char* CRegDir::GetValue(const char* path) const {
    const CRegNode* found = DeepFind(path);
    return found == nullptr || found->IsDirectory() ? nullptr : found->GetValue();
}

bool CRegDir::GetValue(const char* path, CString& out) const {
    const char* text = GetValue(path);
    if (text == nullptr) {
        return false;
    }
    out = text;
    return true;
}

bool CRegDir::GetValue(const char* path, int& out) const {
    const char* text = GetValue(path);
    if (text == nullptr) {
        return false;
    }
    out = static_cast<int>(std::strtol(text, nullptr, 10));
    return true;
}

bool CRegDir::GetValue(const char* path, unsigned& out) const {
    const char* text = GetValue(path);
    if (text == nullptr) {
        return false;
    }
    out = static_cast<unsigned>(std::strtoul(text, nullptr, 10));
    return true;
}

bool CRegDir::EnumEntry(int i, CString& out) const {
    const CRegNode* entry = node_ == nullptr ? nullptr : node_->Index(i);
    if (entry == nullptr) {
        return false;
    }
    out = entry->GetName();
    return true;
}

void CRegDir::AddComment(const char* text) {
    if (node_ != nullptr) {
        node_->AddChild(RegNodeType::Comment, nullptr, text);
    }
}

// Copies depth first, with a stack of its own for the open directories. If the target is not below
// the source at the start, no directory ever becomes a part of the one that it is copied from.
bool CRegDir::CopyDir(const CRegDir& source) {
    if (node_ == nullptr || source.node_ == nullptr) {
        return false;
    }
    for (const CRegNode* above = node_->Parent(); above != nullptr; above = above->Parent()) {
        if (above == source.node_) {
            return false;
        }
    }
    struct Level {
        CRegNode* source;
        CRegDir target;
        const CRegNode* copied;
    };
    std::vector<Level> levels{{source.node_, *this, nullptr}};
    while (!levels.empty()) {
        Level& level = levels.back();
        const CRegNode* entry =
            level.copied == nullptr ? level.source->FirstEntry() : level.copied->NextEntry();
        if (entry == nullptr) {
            levels.pop_back();
            continue;
        }
        level.copied = entry;
        CRegNode* found = level.source->DeepFind(entry->GetName());
        if (found == nullptr) {
            return false;
        }
        if (found->IsDirectory()) {
            CRegDir target;
            if (!level.target.CreateDir(entry->GetName(), target)) {
                return false;
            }
            levels.push_back({found, target, nullptr});
        } else if (found->GetValue() == nullptr) {
            return false;
        } else {
            // Deliberate: a name that is a directory's here is passed over, and the copy goes on.
            level.target.SetValue(entry->GetName(), found->GetValue());
        }
    }
    return true;
}

bool CRegDir::Delete(const char* path) {
    CRegNode* found = DeepFind(path);
    delete found;
    return found != nullptr;
}

bool CRegDir::ValidNameChar(int c) {
    return RegNames::IsNameChar(c);
}

bool CRegDir::ValidName(const char* name) {
    return name != nullptr && RegNames::IsValid(name);
}

char* CRegDir::FixName(char* name) {
    const std::size_t size = std::clamp<std::size_t>(strnlen(name, RegNames::cMostCharacters), 1,
                                                     RegNames::cMostCharacters);
    name[size] = '\0';
    RegNames::Fix(name, size);
    return name;
}

void CRegDir::FixName(CString& name) {
    FixName(name.Lock(std::max(name.Length() + 1, 2)));
    name.Unlock();
}

}  // namespace Tova
