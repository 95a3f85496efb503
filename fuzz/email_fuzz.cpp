// Checks an address as a whole against its two parts.
#include "fuzz/FuzzTarget.h"
#include "text/CEmailAddress.h"

#include <algorithm>
#include <string>

namespace {

using tvfuzz::Require;

bool isValid(const std::string& text) {
    return Tova::CEmailAddress(Tova::CString(text.c_str())).IsValid();
}

bool isGoodDomain(const std::string& domain) {
    if (domain.find('.') == domain.npos || domain.find("..") != domain.npos ||
        domain.front() == '.' || domain.back() == '.') {
        return false;
    }
    return std::all_of(domain.begin(), domain.end(), [](char c) {
        return c > ' ' && c < '\x7F' &&
               std::string_view("()<>@,;:\\\"[]").find(c) == std::string_view::npos;
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = tvfuzz::UpToNul(tvfuzz::Input(data, size).Rest());
    const std::size_t at = text.rfind('@');
    if (at == text.npos) {
        Require(!isValid(text), "an address has an @");
        return 0;
    }
    const std::string local = text.substr(0, at), domain = text.substr(at + 1);
    Require(isValid("a@" + domain) == isGoodDomain(domain), "the domain keeps its rules");
    const bool isGoodLocal = isValid(local + "@b.c");
    Require(isValid(text) == (isGoodLocal && isGoodDomain(domain)),
            "the parts do not matter to each other");
    if (!isGoodLocal) {
        return 0;
    }
    Require(!local.empty() && local.back() != '.', "a local part is not empty and ends in no dot");
    Require(std::all_of(local.begin(), local.end(), [](char c) { return c >= ' ' && c < '\x7F'; }),
            "it holds no control character and no byte of 0x80 or more");
    Require(local.find('"') != local.npos || local.find('@') == local.npos, "an @ in it is quoted");
    Require(isValid(local + ".\"\\ @\".x@b.c"), "more may follow a dot");
    Require(!isValid(local + "\x7F@b.c") && !isValid(local + " @b.c"), "but no blank");
    return 0;
}
