// The substitution of a whole list into a text: in one scan where that gives the same result, else
// in passes over the variables, which is what defines the result.
#include "vars/CVarList.h"
#include "vars/Substitution.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tova {

namespace {

using Wide = std::u16string;
using WideView = std::u16string_view;

Wide UnitsOf(CFStringRef string) {
    const CFIndex length = CFStringGetLength(string);
    std::vector<UniChar> units(static_cast<std::size_t>(length));
    CFStringGetCharacters(string, CFRangeMake(0, length), units.data());
    return {units.begin(), units.end()};
}

void setUnits(CFMutableStringRef string, WideView text) {
    const std::vector<UniChar> units(text.begin(), text.end());
    const CFRef<CFStringRef> made(CFStringCreateWithCharacters(kCFAllocatorDefault, units.data(),
                                                               static_cast<CFIndex>(units.size())));
    if (!made) {
        throw std::bad_alloc();
    }
    CFStringReplaceAll(string, made.Get());
}

CFRef<CFStringRef> oneUnit(CFStringRef string, CFIndex index) {
    return CFRef<CFStringRef>(
        CFStringCreateWithSubstring(kCFAllocatorDefault, string, CFRangeMake(index, 1)));
}

bool contains(CFStringRef text, CFStringRef part) {
    return CFStringFind(text, part, 0).location != kCFNotFound;
}

// The variables of a list as UTF-16, without those that are not valid in the system encoding. Makes
// no statement where the scan does not serve: the delimiters are equal, a name holds one, or two
// names read the same, so that the first of them has the say.
class WideVars {
public:
    static std::optional<WideVars> Make(const CVarList& list, char16_t open, char16_t close) {
        WideVars made;
        if (open == close) {
            return std::nullopt;
        }
        for (const CVar* var = list.First(); var != nullptr; var = var->Next()) {
            const CFRef<CFStringRef> name = MakeCFString(var->Name());
            const CFRef<CFStringRef> value = MakeCFString(var->Value());
            if (!name || !value) {
                continue;
            }
            const auto [at, isNew] = made.values_.emplace(UnitsOf(name.Get()), Wide());
            if (!isNew || at->first.find(open) != Wide::npos ||
                at->first.find(close) != Wide::npos) {
                return std::nullopt;
            }
            at->second = UnitsOf(value.Get());
        }
        return made;
    }

    std::optional<WideView> Find(WideView name) const {
        const auto found = values_.find(name);
        return found != values_.end() ? std::optional<WideView>(found->second) : std::nullopt;
    }
    std::size_t Count() const { return values_.size(); }

private:
    struct Hash : std::hash<WideView> {
        using is_transparent = void;
    };
    std::unordered_map<Wide, Wide, Hash, std::equal_to<>> values_;
};

}  // namespace

bool CVarList::ScanServes(char open, char close) const {
    const auto inNames = [&](char c) { return nameBytes_.test(static_cast<unsigned char>(c)); };
    return open != close && !inNames(open) && !inNames(close);
}

int CVarList::Apply(CString& text, const char* delimiters) const {
    const Delimiters pair(delimiters);
    if (head_ == nullptr || pair.close == '\0') {
        return 0;
    }
    if (!ScanServes(pair.open, pair.close)) {
        return ApplyInPasses(text, delimiters);
    }
    const auto find = [this](std::string_view name) -> std::optional<std::string_view> {
        const CVar* var = FindVar(name);
        return var != nullptr ? std::optional<std::string_view>(var->Value()) : std::nullopt;
    };
    const std::string_view view(text.CStr(), static_cast<std::size_t>(text.Length()));
    std::string out;
    out.reserve(view.size());
    // Without a circle a value is open inside itself at no time.
    const auto count =
        SubstituteInOneScan<char>(view, pair.open, pair.close, count_ + 1, find, out);
    if (!count) {
        return ApplyInPasses(text, delimiters);
    }
    if (*count != 0) {
        Assign(text, out);
    }
    return static_cast<int>(*count);
}

// One delimiter in the text is enough to go on, unlike in the form for platform strings. That costs
// a pass at most and is kept as callers know it.
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
    if (text == nullptr || (delimiters != nullptr && CFStringGetLength(delimiters) != 2)) {
        return 0;
    }
    const CFRef<CFStringRef> pair =
        delimiters != nullptr ? CFRef<CFStringRef>::Retain(delimiters) : MakeCFString("<>");
    const CFRef<CFStringRef> open = oneUnit(pair.Get(), 0);
    const CFRef<CFStringRef> close = oneUnit(pair.Get(), 1);
    if (head_ == nullptr || !open || !close || !contains(text, open.Get()) ||
        !contains(text, close.Get())) {
        return 0;
    }
    const Wide marks = UnitsOf(pair.Get());
    const std::optional<WideVars> vars = WideVars::Make(*this, marks[0], marks[1]);
    if (!vars) {
        return ApplyInPasses(text, open.Get(), close.Get());
    }
    const auto find = [&vars](WideView name) { return vars->Find(name); };
    Wide out;
    const auto count = SubstituteInOneScan<char16_t>(UnitsOf(text), marks[0], marks[1],
                                                     vars->Count() + 1, find, out);
    if (!count) {
        return ApplyInPasses(text, open.Get(), close.Get());
    }
    if (*count != 0) {
        setUnits(text, out);
    }
    return static_cast<int>(*count);
}

int CVarList::ApplyInPasses(CFMutableStringRef text, CFStringRef open, CFStringRef close) const {
    unsigned total = 0;
    for (unsigned before = ~0U; before != total;) {
        if (!contains(text, open) || !contains(text, close)) {
            break;
        }
        before = total;
        for (const CVar* var = head_; var != nullptr; var = var->Next()) {
            total += static_cast<unsigned>(var->Apply(text, open, close));
        }
    }
    return static_cast<int>(total);
}

}  // namespace Tova
