// The substitution of a whole list into a text: in one scan if that gives the same result, else in
// passes over the variables, which define the result.
#include "vars/CVarList.h"
#include "vars/Substitution.h"
#include "vars/WideVars.h"

#include <optional>
#include <string>

namespace Tova {

namespace {

// Returns false if the string does not change, because it is immutable.
bool setUnits(CFMutableStringRef string, std::u16string_view text) {
    const CFRef<CFStringRef> made = StringOfUnits(text);
    CFStringReplaceAll(string, made.Get());
    return CFEqual(string, made.Get()) != 0;
}

}  // namespace

void CVarList::DropWide::operator()(const WideVars* vars) const {
    delete vars;
}

bool CVarList::ScanServes(char open, char close) const {
    const auto inNames = [&](char c) { return nameBytes_[static_cast<unsigned char>(c)]; };
    return open != close && !inNames(open) && !inNames(close);
}

int CVarList::Apply(CString& text, const char* delimiters) const {
    const Delimiters pair(delimiters);
    if (head_ == nullptr || pair.close == '\0') {
        return 0;
    }
    const char own[] = {pair.open, pair.close, '\0'};  // `delimiters` may stand in the text
    if (!ScanServes(pair.open, pair.close)) {
        return ApplyInPasses(text, own);
    }
    const auto find = [this](std::string_view name) -> const CVar* { return FindVar(name); };
    const std::string_view view(text.CStr(), static_cast<std::size_t>(text.Length()));
    ScanOutput<char> out;
    out.ReserveFor(view.size());
    NoObserver nobody;
    // Without a circle no value is open inside itself.
    const auto count =
        SubstituteInOneScan(view, pair.open, pair.close, count_ + 1, find, out, nobody);
    if (!count) {
        return ApplyInPasses(text, own);
    }
    if (*count != 0) {
        out.MoveTo(text);
    }
    return static_cast<int>(*count);
}

// Deliberate: one delimiter in the text is enough to go on, unlike in the form for platform
// strings. That costs a pass at most, and callers know it so.
int CVarList::ApplyInPasses(CString& text, const char* delimiters) const {
    const Delimiters pair(delimiters);
    unsigned total = 0;
    for (unsigned before = ~0U; before != total;) {
        if (text.Find(pair.open, 0, true) < 0 && text.Find(pair.close, 0, true) < 0) {
            break;
        }
        before = total;
        for (const CVar* var = head_; var != nullptr; var = var->Next()) {
            total += static_cast<unsigned>(var->Apply(text, delimiters));
        }
    }
    return static_cast<int>(total);
}

int CVarList::Apply(CFMutableStringRef text, CFStringRef delimiters) const {
    if (head_ == nullptr || text == nullptr ||
        (delimiters != nullptr && CFStringGetLength(delimiters) != 2)) {
        return 0;
    }
    const std::u16string pair = delimiters != nullptr ? UnitsOf(delimiters) : u"<>";
    const std::u16string source = UnitsOf(text);
    if (source.find(pair[0]) == source.npos || source.find(pair[1]) == source.npos) {
        return 0;
    }
    if (!wide_ || !wide_->IsCurrent()) {
        wide_.reset(new WideVars(*this));
    }
    ScanOutput<char16_t> result;
    NoObserver nobody;
    const unsigned count = Substitute(source, pair[0], pair[1], *wide_, result, nobody);
    return count != 0 && setUnits(text, result.View()) ? static_cast<int>(count) : 0;
}

}  // namespace Tova
