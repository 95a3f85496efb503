#include "vars/WideVars.h"

namespace Tova {

std::u16string UnitsOf(CFStringRef string) {
    const CFIndex length = CFStringGetLength(string);
    std::vector<UniChar> units(static_cast<std::size_t>(length));
    CFStringGetCharacters(string, CFRangeMake(0, length), units.data());
    return {units.begin(), units.end()};
}

CFRef<CFStringRef> StringOfUnits(std::u16string_view units) {
    const std::vector<UniChar> copy(units.begin(), units.end());
    CFRef<CFStringRef> made(CFStringCreateWithCharacters(kCFAllocatorDefault, copy.data(),
                                                         static_cast<CFIndex>(copy.size())));
    if (!made) {
        throw std::bad_alloc();
    }
    return made;
}

WideVars::WideVars(const CVarList& list) {
    for (const CVar* var = list.First(); var != nullptr; var = var->Next()) {
        const CFRef<CFStringRef> name = MakeCFString(var->Name());
        const CFRef<CFStringRef> value = MakeCFString(var->Value());
        if (name && value) {
            vars_.push_back({UnitsOf(name.Get()), UnitsOf(value.Get()), var});
        }
    }
    // The map refers to the names, so it is made when they no longer move.
    for (const WideVar& var : vars_) {
        byName_.emplace(var.name, &var);
    }
}

const WideVar* WideVars::Find(std::u16string_view name) const {
    const auto found = byName_.find(name);
    return found != byName_.end() ? found->second : nullptr;
}

bool WideVars::ScanServes(char16_t open, char16_t close) const {
    if (open == close || byName_.size() != vars_.size()) {
        return false;
    }
    for (const WideVar& var : vars_) {
        if (var.name.find(open) != var.name.npos || var.name.find(close) != var.name.npos) {
            return false;
        }
    }
    return true;
}

}  // namespace Tova
