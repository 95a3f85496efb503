// Fills the placeholders of one name in a template, one by one and all at once. The first line
// holds the delimiters, the second the name, the third the text to insert, the rest is the
// template.
#include "fuzz/FuzzTarget.h"
#include "vars/CFormat.h"

#include <algorithm>
#include <string>

namespace {

using tvfuzz::Require;
using tvfuzz::UpToNul;

// Leaves a width out that would only cost memory.
bool insert(char* spec, const void* data, Tova::CString& out) {
    Tova::CFormat::FmtSpec decoded;
    const bool known = Tova::CFormat::DecodeFormatSpec(spec, decoded);
    Require(decoded.width >= 0 && (decoded.pad == ' ' || decoded.pad == '0'), "specification");
    return known && decoded.width < 200 && Tova::CFormat::FmtString(spec, data, out);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvfuzz::Input input(data, size);
    const std::string pair = UpToNul(input.Until('\n')), name = UpToNul(input.Until('\n'));
    std::string value = UpToNul(input.Until('\n'));
    // An inserted placeholder would be filled for ever.
    if (pair.empty() || pair[0] == ' ' || pair[0] == '0') {
        return 0;
    }
    value.erase(std::remove(value.begin(), value.end(), pair[0]), value.end());
    const std::string source = UpToNul(input.Rest());
    Tova::CFormat whole(source.c_str(), pair.c_str(), Tova::CFormat::cKeepVariables);
    Tova::CFormat single(source.c_str(), pair.c_str(), Tova::CFormat::cKeepVariables);

    bool filled = false;
    int at = 0;
    char spec[Tova::CFormat::cMaxSpecLength + 1];
    while ((at = single.GetNextVar(at, name.c_str(), spec)) >= 0) {
        Require(pair.size() > 1, "one delimiter makes no placeholder");
        Tova::CString out;
        if (insert(spec, value.c_str(), out)) {
            Require(out.Length() >= static_cast<int>(value.size()), "FmtString cuts nothing off");
            single.Insert(out.CStr(), at);
            filled = true;
        }
    }
    Require(whole.Item(name.c_str(), value.c_str(), insert) == filled, "both fill some, or none");
    Require(std::string(whole.CStr()) == single.CStr(), "and give the same");
    Require(filled || whole.Length() <= static_cast<int>(source.size()), "nothing else is added");

    Tova::CVarList list;
    list.SetValue(("%" + name).c_str(), value.c_str(), false);
    if (pair.size() < 2 || value.find(pair[1]) != value.npos || pair[0] == pair[1]) {
        return 0;
    }
    Tova::CString plain(source.c_str());
    whole = source.c_str();
    Require(whole.Apply(list) == list.Apply(plain, pair.c_str()) && whole == plain,
            "a template applies a list as a text does");
    return 0;
}
