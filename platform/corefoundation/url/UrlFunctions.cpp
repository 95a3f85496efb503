// Asking URLs for their parts and for the paths that they stand for.
#include "corefoundation/string/String.h"
#include "corefoundation/url/PercentEscapes.h"
#include "corefoundation/url/Url.h"

#include <charconv>
#include <cstring>

using namespace tvplatform;

namespace {

// A text whose bytes were escaped; null unless they are UTF-8.
CFStringRef makeUnescapedString(std::string_view escaped) {
    const auto bytes = Unescape(escaped);
    return bytes ? MakeString(*bytes) : nullptr;
}

std::string_view lastComponent(std::string_view path) {
    const size_t end = path.find_last_not_of('/');
    if (end == std::string_view::npos) {
        return path.substr(0, 1);
    }
    path = path.substr(0, end + 1);
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

CFTypeID CFURLGetTypeID() {
    return static_cast<CFTypeID>(TypeId::Url);
}

CFStringRef CFURLGetString(CFURLRef url) {
    const auto* self = As<const Url>(url);
    return self != nullptr ? self->Text() : nullptr;
}

CFURLRef CFURLGetBaseURL(CFURLRef url) {
    const auto* self = As<const Url>(url);
    return self != nullptr ? self->Base() : nullptr;
}

CFStringRef CFURLCopyScheme(CFURLRef url) {
    const auto* self = As<const Url>(url);
    return self != nullptr && self->Resolved().scheme ? MakeString(*self->Resolved().scheme)
                                                      : nullptr;
}

CFStringRef CFURLCopyHostName(CFURLRef url) {
    const auto* self = As<const Url>(url);
    return self != nullptr && !self->Resolved().host.empty()
               ? makeUnescapedString(self->Resolved().host)
               : nullptr;
}

SInt32 CFURLGetPortNumber(CFURLRef url) {
    const auto* self = As<const Url>(url);
    const std::string_view digits =
        self != nullptr ? self->Resolved().port.value_or("") : std::string_view();
    SInt32 port = -1;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    return result.ec == std::errc() ? port : -1;
}

CFStringRef CFURLCopyPath(CFURLRef url) {
    const auto* self = As<const Url>(url);
    return self != nullptr && self->Own().IsHierarchical() ? MakeString(self->Own().path) : nullptr;
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

Boolean CFURLHasDirectoryPath(CFURLRef url) {
    const auto* self = As<const Url>(url);
    if (self == nullptr || !self->Own().IsHierarchical()) {
        return false;
    }
    const std::string_view path = self->Own().path;
    return path.ends_with('/') || IsDots(lastComponent(path));
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
    const auto* self = As<const Url>(url);
    return self != nullptr && self->Own().IsHierarchical()
               ? makeUnescapedString(lastComponent(self->Own().path))
               : nullptr;
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle pathStyle) {
    const auto* self = As<const Url>(url);
    if (self == nullptr || pathStyle != kCFURLPOSIXPathStyle || !self->Own().IsHierarchical()) {
        return nullptr;
    }
    const auto path = FilePath(self->Own());
    return path ? MakeString(*path) : nullptr;
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
