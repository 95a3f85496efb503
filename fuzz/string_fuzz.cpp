// Does the same to a CString and to a std::string. Each step is a byte for the operation, two for
// numbers, and a line for a text.
#include "fuzz/FuzzTarget.h"
#include "text/CString.h"
#include "text/Ch.h"

#include <algorithm>
#include <string>

namespace {

using tvfuzz::Require;

void trim(std::string& text) {
    while (text.size() > 1 && Tova::Ch::IsWhite(text.back())) {
        text.pop_back();
    }
    const auto isBlack = [](char c) { return !Tova::Ch::IsWhite(c); };
    text.erase(text.begin(), std::find_if(text.begin(), text.end(), isBlack));
}

// A count of -1 stands for everything.
std::size_t most(int count) {
    return count < 0 ? std::string::npos : static_cast<std::size_t>(count);
}

void step(tvfuzz::Input& input, Tova::CString& string, std::string& model) {
    const int operation = input.Below(10);
    const int length = static_cast<int>(model.size());
    const int pos = input.Below(length + 1), count = input.Below(260) - 1;
    const auto at = static_cast<std::size_t>(pos);
    std::string text = tvfuzz::UpToNul(input.Until('\n'));
    const char* source = text.c_str();
    // A text may lie in the string's own buffer.
    if (text == "*") {
        text = model.substr(at);
        source = string.CStr() + pos;
    }
    const std::string part = text.substr(0, most(count));
    switch (operation) {
    case 0:
        string.Copy(source);
        model = text;
        break;
    case 1:
        string.Append(source, count);
        model += part;
        break;
    case 2:
        string.Insert(source, pos == length ? -1 : pos, count);
        model.insert(at, part);
        break;
    case 3:
        string.Delete(pos, count);
        model.erase(at, most(count));
        break;
    case 4:
        string.MidOf(source, pos, count);
        model = at < text.size() ? text.substr(at, most(count)) : "";
        break;
    case 5:
        string.RightOf(source, pos);
        model = text.substr(text.size() - std::min(at, text.size()));
        break;
    case 6:
        string.Append('x', std::max(count, 0));
        model.append(static_cast<std::size_t>(std::max(count, 0)), 'x');
        break;
    case 7:
        string.TrimRight();
        string.TrimLeft();
        trim(model);
        break;
    case 8:
        string.ToUpper();
        std::transform(model.begin(), model.end(), model.begin(), Tova::Ch::ToUpper);
        break;
    default:
        const char c = text.empty() ? 'a' : text[0];
        const std::size_t found = model.find(c, at);
        Require(string.Find(c, pos, true) == (found == model.npos ? -1 : static_cast<int>(found)),
                "the same place is found");
        Require(length == 0 || string.Count(c, pos, length, true) ==
                                   std::count(model.begin() + pos, model.end(), c),
                "so many are counted");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvfuzz::Input input(data, size);
    Tova::CString string;
    std::string model;
    while (!input.IsEmpty() && model.size() < 100000) {
        step(input, string, model);
        Require(static_cast<std::size_t>(string.Length()) == model.size() && string.CStr() == model,
                "the text is the same");
        Require(string.Capacity() % 100 == 0 &&
                    (string.Capacity() > string.Length() || string.IsEmpty()),
                "the capacity has room for it");
        const Tova::CString copy(string);
        Require(copy == string, "a copy is equal");
    }
    return 0;
}
