#include "corefoundation/url/Url.h"

#include "corefoundation/string/String.h"
#include "corefoundation/url/PercentEscapes.h"

#include <algorithm>

using namespace tvplatform;

__CFURL::__CFURL(std::string text, const __CFURL* base)
    : Object(cType), ownText_(std::move(text)), base_(Ref<CFURLRef>::Share(base)),
      string_(MakeString(ownText_)), own_(ParseUrl(ownText_)),
      wholeText_(
          base != nullptr && own_
              ? ComposeUrl(base->Own(), JoinFilePath(std::string(base->Own().path), own_->path))
              : std::string()),
      whole_(ParseUrl(wholeText_).value_or(UrlParts())) {}

bool __CFURL::Equal(const Object& other) const {
    const auto& url = static_cast<const Url&>(other);
    return ownText_ == url.ownText_ && CFEqual(base_.Get(), url.base_.Get()) != 0;
}

CFHashCode __CFURL::Hash() const {
    return CFHash(Text());
}

std::u16string __CFURL::Description() const {
    const std::string& text = base_ ? wholeText_ : ownText_;
    return std::u16string(text.begin(), text.end());
}

namespace tvplatform {

CFURLRef MakeUrl(std::string text, const Url* base) {
    auto* url = new Url(std::move(text), base);
    if (!url->IsValid()) {
        url->Release();
        return nullptr;
    }
    return ToRef<CFURLRef>(url);
}

CFURLRef MakeFileUrl(std::string_view path, bool isDirectory, const Url* base) {
    if (path.empty() || path.find('\0') != std::string_view::npos) {
        return nullptr;
    }
    const bool absolute = path.front() == '/';
    std::string text = (absolute ? "file://" : "") + EscapePath(path);
    if (isDirectory && path.back() != '/') {
        text.push_back('/');
    }
    return MakeUrl(std::move(text), absolute ? nullptr : base);
}

std::optional<std::string> FilePath(const UrlParts& parts) {
    auto path = Unescape(parts.path);
    if (!path || path->empty() || path->find('\0') != std::string::npos) {
        return std::nullopt;
    }
    // An escaped slash is part of a name in the URL, but no name of a file can have it.
    if (std::count(path->begin(), path->end(), '/') !=
        std::count(parts.path.begin(), parts.path.end(), '/')) {
        return std::nullopt;
    }
    path->resize(std::max<size_t>(path->find_last_not_of('/') + 1, 1));
    return path;
}

}  // namespace tvplatform
