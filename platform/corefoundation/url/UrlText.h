// URLs as text: their parts, which texts are valid, and how a reference is resolved (RFC 3986). The
// text is ASCII. All work is linear in it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tvplatform {

// Views into the text that was cut up. An absent part is nothing, which differs from an empty one.
struct UrlParts {
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    // Of the authority; the host is without brackets.
    std::string_view host;
    std::optional<std::string_view> port;
    std::string_view path;
    std::optional<std::string_view> query;
    std::optional<std::string_view> fragment;

    // False for an address such as "mailto:x", whose path is not made of components.
    bool IsHierarchical() const {
        return !scheme || authority || (!path.empty() && path.front() == '/');
    }
    // Whether it names a file of this machine; a URL without a scheme may be anything.
    bool IsFile() const;
};

// Nothing when the text is neither a URL nor a relative reference. The empty text is one.
std::optional<UrlParts> ParseUrl(std::string_view text);

// The text of the parts with another path.
std::string ComposeUrl(const UrlParts& parts, std::string_view path);

// What `reference` means where `base` is. Dots in paths are removed as RFC 3986 has it, but for
// files only at the front of the reference: behind a name, which may be a symbolic link, ".." has
// to stay.
std::string ResolveUrl(const UrlParts& base, const UrlParts& reference);

inline bool IsDots(std::string_view component) {
    return component == "." || component == "..";
}

}  // namespace tvplatform
