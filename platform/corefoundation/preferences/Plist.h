// Property lists: values as libplist keeps them, as objects, and as XML. Values are immutable; any
// thread may use them.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tvplatform {

// A node of libplist's and what it is part of; null stands for no value.
using PlistValue = std::shared_ptr<void>;

struct PlistEntry {
    std::string key;
    PlistValue value;
};

// Whether a property list can hold this UTF-8 text: it has no control characters but tab and line
// ends.
bool IsPlistText(std::string_view text);

// Null when a property list cannot hold the object: it is of another type, too deep or too large,
// or has text that IsPlistText refuses.
PlistValue PlistFromObject(CFTypeRef object);

// Owned by the caller; null when a part of the value has no type there (a date, an integer above 63
// bits, text that is not UTF-8).
CFTypeRef ObjectFromPlist(const PlistValue& value);

// The entries of the dictionary that the document is, in order; nothing when it is damaged, no
// dictionary, or nested too deeply to be handled without fear for the stack.
std::optional<std::vector<PlistEntry>> ParsePlist(std::string_view xml);
// The XML document of a dictionary.
std::string WritePlist(const std::vector<PlistEntry>& entries);

}  // namespace tvplatform
