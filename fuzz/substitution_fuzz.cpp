// Substitutes variables into a text in both forms, and compares with the rules as they are stated.
// The first line holds the delimiters. The variables follow, "NAME=VALUE" in a line, then an empty
// line and the text.
#include "fuzz/FuzzTarget.h"
#include "tests/vars/SubstitutionRules.h"
#include "text/CFRef.h"
#include "vars/CVarList.h"
#include "vars/Substitution.h"

#include <CoreFoundation/CoreFoundation.h>

#include <string>

namespace {

using tvfuzz::Require;
using tvfuzz::UpToNul;

bool isAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

// A variable that is not valid in the system encoding counts as unknown in this form.
void checkWide(const Tova::CVarList& list, const std::string& source, const std::string& pair) {
    Tova::CVarList valid;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        if (Tova::MakeCFString(var->Name()) && Tova::MakeCFString(var->Value())) {
            valid.SetValue(("%" + std::string(var->Name())).c_str(), var->Value(), false);
        }
    }
    const std::string expected = tvtest::ApplyByTheRules(valid, source, pair.c_str(), true);
    const Tova::CFRef<CFMutableStringRef> text(
        CFStringCreateMutableCopy(nullptr, 0, Tova::MakeCFString(source.c_str()).Get()));
    if (expected.empty() || !text) {
        return;
    }
    const int count = list.Apply(text.Get(), Tova::MakeCFString(pair.c_str()).Get());
    Tova::CString result;
    Require(result.CopyFromCFString(text.Get(), kCFStringEncodingUTF8), "the result is text");
    Require(result.CStr() + std::to_string(count) == expected, "the wide form keeps the rules");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvfuzz::Input input(data, size);
    const std::string pair = UpToNul(input.Until('\n')).substr(0, 2);
    Tova::CVarList list;
    std::string line;
    for (int count = 0; count < 40 && !(line = UpToNul(input.Until('\n'))).empty(); ++count) {
        const std::size_t equals = std::min(line.find('='), line.size());
        const std::string value = line.substr(std::min(equals + 1, line.size()));
        list.SetValue(line.substr(0, equals).c_str(), value.c_str(), false);
    }
    const std::string source = UpToNul(input.Rest());
    Tova::CString text(source.c_str());
    if (pair.size() < 2) {
        Require(list.Apply(text, pair.c_str()) == 0 && text.CStr() == source, "nothing happens");
        return 0;
    }
    const std::string expected = tvtest::ApplyByTheRules(list, source, pair.c_str(), false);
    if (!expected.empty()) {
        const int count = list.Apply(text, pair.c_str());
        Require(text.CStr() + std::to_string(count) == expected, "the 8-bit form keeps the rules");
    }
    if (isAscii(pair[0]) && isAscii(pair[1])) {
        checkWide(list, source, pair);
    }
    return 0;
}
