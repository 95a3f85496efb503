// The C interface of URLs.
#include "corefoundation/string/String.h"
#include "corefoundation/url/PercentEscapes.h"
#include "corefoundation/url/Url.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unistd.h>

using namespace tvplatform;

namespace {

// The current folder as a base for relative paths. Returns null if it has no path.
Ref<CFURLRef> currentFolder() {
    // The C library finds the room, since there is no bound on the length.
    const std::unique_ptr<char, decltype(&std::free)> folder(getcwd(nullptr, 0), &std::free);
    return Ref<CFURLRef>(folder ? MakeFileUrl(folder.get(), true, nullptr) : nullptr);
}

std::string_view withoutSlashesAtEnd(std::string_view path) {
    return path.substr(0, path.find_last_not_of('/') + 1);
}

// Whether a relative path has no name, so that nothing of its own can be taken off.
bool hasOnlyDots(std::string_view path) {
    while (!path.empty()) {
        const size_t slash = std::min(path.find('/'), path.size());
        if (slash != 0 && !IsDots(path.substr(0, slash))) {
            return false;
        }
        path.remove_prefix(std::min(slash + 1, path.size()));
    }
    return true;
}

// The path of the folder that contains `path`.
std::string containingFolder(std::string_view path, bool absolute) {
    const std::string_view names = withoutSlashesAtEnd(path);
    const size_t slash = names.rfind('/');
    const std::string_view folder =
        slash == std::string_view::npos ? "" : withoutSlashesAtEnd(names.substr(0, slash));
    if (folder.empty()) {
        return absolute ? "/" : "./";
    }
    return std::string(folder) + "/";
}

}  // namespace

CFTypeID CFURLGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Url);
}

CFStringRef CFURLGetString(CFURLRef url) {
    const auto* self = As<const Url>(url);
    return self != nullptr ? self->Text() : nullptr;
}

CFStringRef CFURLCopyStrictPath(CFURLRef url, Boolean* isAbsolute) {
    const auto* self = As<const Url>(url);
    const bool hierarchical = self != nullptr && self->Own().IsHierarchical();
    std::string_view path = hierarchical ? self->Own().path : "";
    const bool absolute = path.starts_with('/');
    path.remove_prefix(absolute ? 1 : 0);
    if (isAbsolute != nullptr) {
        *isAbsolute = absolute;
    }
    return hierarchical ? MakeString(path) : nullptr;
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen) {
    const auto* self = As<const Url>(url);
    if (self == nullptr || buffer == nullptr || !self->Resolved().IsFile()) {
        return false;
    }
    const auto path = FilePath(resolveAgainstBase != 0 ? self->Resolved() : self->Own());
    if (!path || maxBufLen < 0 || path->size() >= static_cast<size_t>(maxBufLen)) {
        return false;
    }
    std::memcpy(buffer, path->c_str(), path->size() + 1);
    return true;
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* buffer,
                                                 CFIndex bufLen, Boolean isDirectory) {
    if (buffer == nullptr || bufLen <= 0) {
        return nullptr;
    }
    const std::string_view path(reinterpret_cast<const char*>(buffer), static_cast<size_t>(bufLen));
    if (path.front() == '/') {
        return MakeFileUrl(path, isDirectory != 0, nullptr);
    }
    const Ref<CFURLRef> folder = currentFolder();
    return folder ? MakeFileUrl(path, isDirectory != 0, folder.Get()) : nullptr;
}

CFURLRef CFURLCreateWithString(CFAllocatorRef, CFStringRef URLString, CFURLRef baseURL) {
    auto text = ToUtf8(URLString);
    return text && !text->empty() && baseURL == nullptr ? MakeUrl(std::move(*text), nullptr)
                                                        : nullptr;
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url,
                                               CFStringRef pathComponent, Boolean isDirectory) {
    const auto* self = As<const Url>(url);
    const auto component = ToUtf8(pathComponent);
    if (self == nullptr || !component || component->find('\0') != std::string::npos ||
        !self->Own().IsHierarchical()) {
        return nullptr;
    }
    const UrlParts& parts = self->Own();
    std::string path(parts.path);
    if (path.empty()) {
        path = parts.authority ? "/" : "./";
    } else if (path.back() != '/') {
        path.push_back('/');
    }
    path += EscapePath(*component);
    if (isDirectory != 0 && path.back() != '/') {
        path.push_back('/');
    }
    return MakeUrl(ComposeUrl(parts, path), self->Base());
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url) {
    const auto* self = As<const Url>(url);
    if (self == nullptr || !self->Own().IsHierarchical()) {
        return nullptr;
    }
    const UrlParts& own = self->Own();
    const bool absolute = own.scheme || own.authority || own.path.starts_with('/');
    if (self->Base() != nullptr && hasOnlyDots(own.path)) {
        const UrlParts& whole = self->Resolved();
        return MakeUrl(ComposeUrl(whole, containingFolder(whole.path, true)), nullptr);
    }
    return MakeUrl(ComposeUrl(own, containingFolder(own.path, absolute)), self->Base());
}
