// Reads the input as a preferences file. Writes what came of it, reads that, and turns the values
// into objects and back.
#include "corefoundation/preferences/Plist.h"
#include "fuzz/FuzzTarget.h"
#include "tests/support/PlatformValues.h"

#include <string>
#include <vector>

namespace {

using namespace tvplatform;
using tvfuzz::Require;
using tvtest::Own;

void describe(const std::vector<PlistEntry>& entries, std::string& out) {
    for (const auto& [key, value] : entries) {
        Require(value != nullptr, "every entry has a value");
        out += key + "\1" + std::to_string(static_cast<int>(value->kind)) + value->text + "\2";
        describe(value->parts, out);
        out += "\3";
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto entries = ReadPlist(tvfuzz::Input(data, size).Rest());
    if (!entries) {
        return 0;
    }
    const auto again = ReadPlist(WritePlist(entries->Entries()));
    Require(again.has_value(), "what was written can be read");
    std::string before, after;
    describe(entries->Entries(), before);
    describe(again->Entries(), after);
    Require(before == after, "and is the same");
    for (const PlistEntry& entry : entries->Entries()) {
        const auto object = Own(ObjectFromPlist(entry.value));
        const PlistValue value = object ? PlistFromObject(object) : nullptr;
        if (value == nullptr) {
            continue;
        }
        const auto back = ReadPlist(WritePlist({{entry.key, value}}));
        Require(back && back->Entries().size() == 1, "an object can be written and read");
        const auto same = Own(ObjectFromPlist(back->Find(entry.key)));
        Require(same && tvtest::Dump(same) == tvtest::Dump(object), "and is the same");
    }
    return 0;
}
