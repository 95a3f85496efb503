// Property lists: values as a document has them, as objects, and as XML. Values are immutable, so
// any thread may use them. Lack of memory is std::bad_alloc everywhere.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tvplatform {

// The kinds of elements that are values. A true and a false are elements of their own.
enum class PlistKind { True, False, Integer, Real, Text, Bytes, Date, List, Dict };

struct PlistNode;
// Null stands for no value.
using PlistValue = std::shared_ptr<const PlistNode>;

struct PlistEntry {
    std::string key;
    PlistValue value;
};

struct PlistNode {
    PlistKind kind;
    // Of an integer, a real, a date and data (base64 without white space): as the document has it,
    // so that what another program wrote comes through unchanged. Of a string: UTF-8.
    std::string text;
    // Of a dictionary, whose keys are all different, or an array, where every key is empty.
    std::vector<PlistEntry> parts;
};

// Returns true if a property list can hold this UTF-8 text. It can hold no control character but
// tab and line ends, and neither U+FFFE nor U+FFFF.
bool IsPlistText(std::string_view text);

// Returns null if a property list cannot hold the object: it is of another type, too deep or too
// large, or has a text that IsPlistText refuses.
PlistValue PlistFromObject(CFTypeRef object);

// Returns a new reference, or null if a part of the value has no type here: a date, an integer
// above 63 bits, or a text that is no value of its kind.
CFTypeRef ObjectFromPlist(const PlistValue& value);

// Returns the entries of the dictionary that the document is, in order; of entries with the same
// key, the last value at the first place. Returns nothing if the document is damaged, is no
// dictionary, is nested deeper than cDeepestPlist, or declares entities of its own. Takes time in
// proportion to the document, whatever it holds.
std::optional<std::vector<PlistEntry>> ReadPlist(std::string_view xml);
// Values nest at most so deep, the document's own dictionary included.
constexpr std::size_t cDeepestPlist = 200;

// Returns the XML document of a dictionary with these entries.
std::string WritePlist(const std::vector<PlistEntry>& entries);

}  // namespace tvplatform
