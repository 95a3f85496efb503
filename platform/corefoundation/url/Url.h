// The URL object: its own text, its base, and the text that the two make when resolved.
#pragma once

#include "corefoundation/object/Object.h"
#include "corefoundation/object/Ref.h"
#include "corefoundation/url/UrlText.h"

#include <CoreFoundation/CFURL.h>

// The opaque type of the C interface is the class itself, so that a CFURLRef is a pointer to it.
struct __CFURL final : tvplatform::Object {
    static constexpr tvplatform::TypeId cType = tvplatform::TypeId::Url;

    // `base` is borrowed. It is null, or a folder without a base if the text is a relative path.
    __CFURL(std::string text, const __CFURL* base);

    // Whether the text is valid (see ParseUrl). An invalid one may only be released.
    bool IsValid() const { return own_.has_value(); }
    CFStringRef Text() const { return string_.Get(); }
    const __CFURL* Base() const { return base_.Get(); }
    const tvplatform::UrlParts& Own() const { return *own_; }
    // The parts of the URL joined to its base.
    const tvplatform::UrlParts& Resolved() const { return base_ ? whole_ : *own_; }

    bool Equal(const Object& other) const override;
    CFHashCode Hash() const override;
    std::u16string Description() const override;

private:
    const std::string ownText_;
    const tvplatform::Ref<CFURLRef> base_;
    const tvplatform::Ref<CFStringRef> string_;
    const std::optional<tvplatform::UrlParts> own_;
    const std::string wholeText_;
    const tvplatform::UrlParts whole_;
};

namespace tvplatform {

using Url = ::__CFURL;

// A new URL, owned by the caller. Returns null if the text is not valid.
CFURLRef MakeUrl(std::string text, const Url* base);

// A file URL for a path of bytes. Only a relative path gets `base`. Returns null if the path is
// empty or has a zero byte.
CFURLRef MakeFileUrl(std::string_view path, bool isDirectory, const Url* base);

// The bytes of a URL's path without slashes at its end. Returns nothing if the path is empty, or
// has a zero byte or an escaped slash.
std::optional<std::string> FilePath(const UrlParts& parts);

}  // namespace tvplatform
