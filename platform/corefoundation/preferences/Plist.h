// Property lists: values as a document has them, as objects, and as XML. Values are immutable, so
// any thread may use them. Lack of memory is std::bad_alloc everywhere.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
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

// The entries of a dictionary, in order and found by their keys. Their index lies in one piece of
// memory, because a node for each of many entries would cost more than the rest of reading them.
class PlistDict {
public:
    const std::vector<PlistEntry>& Entries() const { return entries_; }
    // Returns null if there is none.
    PlistValue Find(std::string_view key) const;
    // Sets the value of the key, at its place if it has one, else at the end.
    void Set(std::string key, PlistValue value);
    std::vector<PlistEntry> Take() && { return std::move(entries_); }

private:
    // Tells where an entry of this hash stands, counted from 1. A free slot holds 0.
    struct Slot {
        std::uint32_t hash;
        std::uint32_t place;
    };

    // Returns the key's slot, or the free one that it would take. There must be a free one.
    std::size_t SlotOf(std::string_view key, std::uint32_t hash) const;
    void Reserve(std::size_t count);

    std::vector<PlistEntry> entries_;
    std::vector<Slot> slots_;  // a power of two, or none
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

// Returns the dictionary that the document is; of entries with the same key, the last value at the
// first place. Returns nothing if the document is damaged, is no
// dictionary, is nested deeper than cDeepestPlist, or declares entities of its own. Takes time in
// proportion to the document, whatever it holds.
std::optional<PlistDict> ReadPlist(std::string_view xml);
// Values nest at most so deep, the document's own dictionary included.
constexpr std::size_t cDeepestPlist = 200;

// Returns the XML document of a dictionary with these entries.
std::string WritePlist(const std::vector<PlistEntry>& entries);

}  // namespace tvplatform
