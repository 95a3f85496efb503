// Escapes a text in every way that CString knows, and undoes it.
#include "fuzz/FuzzTarget.h"
#include "text/CFRef.h"
#include "text/CString.h"
#include "vars/Substitution.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <string>

namespace {

using Tova::CString;
using tvfuzz::Require;

// Returns "(none)" if an escape is malformed, or the bytes are no text.
std::string unescaped(const std::string& text) {
    const Tova::CFRef<CFStringRef> source(Tova::MakeCFString(text.c_str()));
    const Tova::CFRef<CFStringRef> plain(CFURLCreateStringByReplacingPercentEscapesUsingEncoding(
        nullptr, source.Get(), CFSTR(""), kCFStringEncodingUTF8));
    CString out;
    return out.CopyFromCFString(plain.Get(), kCFStringEncodingUTF8) ? out.CStr() : "(none)";
}

// Only the part before the first byte of 0x80 or more is escaped; a "%" stands for the rest.
void checkOwnEscapes(const std::string& text, Tova::Ch::URIEncodeLevel level,
                     Tova::Ch::URIFormat format) {
    CString escaped;
    escaped.ToURIEscapedString(text.c_str(), Tova::Ch::cURIQuery, level, format);
    std::string result = escaped.CStr();
    const auto end = std::find_if(text.begin(), text.end(),
                                  [](char c) { return static_cast<signed char>(c) < 0; });
    if (end != text.end()) {
        Require(!result.empty() && result.back() == '%', "a high byte ends the text");
        result.pop_back();
    }
    if (format == Tova::Ch::cFormFormat) {
        Require(result.find(' ') == result.npos, "a form has no blanks");
        std::replace(result.begin(), result.end(), '+', ' ');
    }
    Require(unescaped(result) == std::string(text.begin(), end), "own escapes turn back");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = tvfuzz::UpToNul(tvfuzz::Input(data, size).Rest());
    for (const auto level : {Tova::Ch::cKeepLegal, Tova::Ch::cKeepUnreserved}) {
        checkOwnEscapes(text, level, Tova::Ch::cPercentFormat);
        checkOwnEscapes(text, level, Tova::Ch::cFormFormat);
    }

    const Tova::CFRef<CFStringRef> wide(Tova::MakeCFString(text.c_str()));
    const Tova::CFRef<CFStringRef> added(CFURLCreateStringByAddingPercentEscapes(
        nullptr, wide.Get(), nullptr, nullptr, kCFStringEncodingUTF8));
    Require(static_cast<bool>(wide) == static_cast<bool>(added), "every text can be escaped");
    CString escaped;
    if (escaped.CopyFromCFString(added.Get(), kCFStringEncodingUTF8)) {
        Require(unescaped(escaped.CStr()) == text, "the platform's escapes turn back");
    }

    CString address, again;
    address.TranslateToMacURIString(text.c_str());
    again.TranslateToMacURIString(address.CStr());
    Require(address == again, "a normal address stays as it is");
    if (!address.IsEmpty()) {
        Require(unescaped(address.CStr()) == unescaped(text), "and means the same");
    }

    const std::size_t start = text.size() / 3;
    CString own(text.c_str()), other;
    own.TranslateToURIString(own.CStr() + start, false, "+ab", "a", true);
    other.TranslateToURIString(text.c_str() + start, false, "+ab", "a", text.empty());
    Require(own == other, "a source in the string's own buffer serves");
    return 0;
}
