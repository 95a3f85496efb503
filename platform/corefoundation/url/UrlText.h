// URLs as text: their parts, and which texts are valid (RFC 3986). A
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

// Joins a relative path to a folder, which ends in "/". Deliberate: only dots at the front of the
// path are followed, because a name before ".." may be a symbolic link.
std::string JoinFilePath(std::string folder, std::string_view path);

inline bool IsDots(std::string_view component) {
    return component == "." || component == "..";
}

}  // namespace tvplatform
