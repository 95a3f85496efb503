// URLs as text: their parts, which texts are valid, and how a reference is resolved (RFC 3986). A
// URL is ASCII. The time of each function is in proportion to the length of the text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

// Views into the text that was parsed. An absent part is nothing, which differs from an empty one.
struct UrlParts {
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
    std::optional<std::string_view> query;
    std::optional<std::string_view> fragment;

    // Whether the path is made of components. That of an address such as "mailto:x" is not.
    bool IsHierarchical() const {
        return !scheme || authority || (!path.empty() && path.front() == '/');
    }
    // Whether the URL names a file of this machine. A URL without a scheme may be anything, so this
    // is true for it.
    bool IsFile() const;
};

// Returns nothing if the text is neither a URL nor a relative reference. The empty text is a
// relative reference.
std::optional<UrlParts> ParseUrl(std::string_view text);

// The text of the parts with another path.
std::string ComposeUrl(const UrlParts& parts, std::string_view path);

// The text of `reference` resolved against `base` by RFC 3986. Deliberate: for files, only dots at
// the front of the reference are removed, because a name before ".." may be a symbolic link.
std::string ResolveUrl(const UrlParts& base, const UrlParts& reference);

inline bool IsDots(std::string_view component) {
    return component == "." || component == "..";
}

}  // namespace tvplatform
